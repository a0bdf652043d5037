#pragma once

#include <log4cplus/appender.h>
#include <log4cplus/logger.h>
#include <log4cplus/spi/loggingevent.h>

#include <ostream>
#include <string>
#include <utility>
#include <vector>

struct Record {
    int level;
    int line;
    std::string file;
    std::string message;

    friend bool operator==(Record const&, Record const&) = default;
    friend void PrintTo(Record const& r, std::ostream* os)
    {
        *os << r.level << " at " << r.file << ':' << r.line << ": " << r.message;
    }
};

class RecordingAppender : public log4cplus::Appender {
public:
    ~RecordingAppender() override { destructorImpl(); }
    void close() override { closed = true; }

    std::vector<Record> records;

protected:
    void append(log4cplus::spi::InternalLoggingEvent const& event) override
    {
        records.push_back(
            {event.getLogLevel(), event.getLine(), event.getFile(), event.getMessage()});
    }
};

/// Attaches an appender to a logger for the life of this object.
template <class AppenderType>
class Attached {
public:
    explicit Attached(log4cplus::Logger logger) : _logger(std::move(logger))
    {
        _logger.addAppender(_holder);
    }
    ~Attached() { _logger.removeAppender(_holder); }
    Attached(Attached const&) = delete;
    Attached& operator=(Attached const&) = delete;

    std::vector<Record> const& records() const { return _appender->records; }

private:
    log4cplus::Logger _logger;
    AppenderType* _appender = new AppenderType;
    log4cplus::SharedAppenderPtr _holder{_appender};
};

/// Records what a logger gets at `level` or above for the life of this object.
class LogRecorder {
public:
    LogRecorder(log4cplus::Logger logger, int level) : _logger(std::move(logger)), _records(_logger)
    {
        _logger.setLogLevel(level);
    }
    ~LogRecorder() { _logger.setLogLevel(_previousLevel); }
    LogRecorder(LogRecorder const&) = delete;
    LogRecorder& operator=(LogRecorder const&) = delete;

    std::vector<Record> const& records() const { return _records.records(); }

private:
    log4cplus::Logger _logger;
    int _previousLevel = _logger.getLogLevel();
    Attached<RecordingAppender> _records;
};
