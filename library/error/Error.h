#pragma once

/// @file
/// Bases of the exceptions: a message, the place of the error, and one log record.

#include "math/Export.h"

#include <exception>
#include <memory>
#include <string>

namespace log4cplus {
class Logger;
}

/// An error with its message and the place where it was detected.
///
/// The error is logged once, by the constructor that takes a message; copies never log. A copy
/// shares the message and cannot throw, as copies of an exception must not.
class MEASUREMATH_API Error : public std::exception {
public:
    /// @param line      line of the throw site.
    /// @param file      source file of the throw site; copied, null is taken as "".
    /// @param message   the text that what() returns; copied.
    /// @param logger    receives the record when it is enabled for `logLevel`; null: no record.
    /// @param logLevel  log4cplus level of the record.
    ///
    /// A logger or an appender that throws is ignored, so that the error itself gets through.
    Error(int line, char const* file, std::string const& message, log4cplus::Logger* logger,
          int logLevel);
    Error(Error const& other) noexcept;             ///< Copies the other.
    Error& operator=(Error const& other) noexcept;  ///< Takes over the contents of the other.
    ~Error() override;

    /// The message, valid as long as this error or a copy of it lives.
    char const* what() const noexcept override;

    int getLine() const noexcept;          ///< Line of the throw site.
    char const* getFile() const noexcept;  ///< Source file of the throw site.

protected:
    /// Emits the record of this error on `logger` (not null): the message, with file and line as
    /// the record's location. Called during construction, so a derived class's override is not.
    virtual void msgFormatter(log4cplus::Logger* logger, int logLevel);

private:
    struct Details {
        std::string message;
        std::string file;
        int line;
    };

    std::shared_ptr<Details const> _details;
};

/// An error after which the program should not go on. The library itself never throws it.
class MEASUREMATH_API FatalError : public Error {
public:
    /// Parameters as for Error.
    FatalError(int line, char const* file, std::string const& message, log4cplus::Logger* logger,
               int logLevel);
    FatalError(FatalError const& other) noexcept;  ///< Copies the other.
    /// Takes over the contents of the other.
    FatalError& operator=(FatalError const& other) noexcept;
    ~FatalError() override;
};

/// Message of the errors that report memory running out.
extern MEASUREMATH_API char const* const memError;
