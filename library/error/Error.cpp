#include "error/Error.h"

#include <log4cplus/logger.h>

char const* const memError = "Out of memory";

Error::Error(int line, char const* file, std::string const& message, log4cplus::Logger* logger,
             int logLevel)
    : _details(std::make_shared<Details const>(Details{message, file ? file : "", line}))
{
    if (!logger) return;
    try {
        // Named with its class: the dynamic type is Error's own during construction in any case.
        Error::msgFormatter(logger, logLevel);
    } catch (...) {
        // The caller must get this error, not the one of its log.
    }
}

// Copies are spelled out so that no move exists: a moved-from error would have no message.
Error::Error(Error const& other) noexcept = default;
Error& Error::operator=(Error const& other) noexcept = default;
Error::~Error() = default;

char const* Error::what() const noexcept
{
    return _details->message.c_str();
}

int Error::getLine() const noexcept
{
    return _details->line;
}

char const* Error::getFile() const noexcept
{
    return _details->file.c_str();
}

void Error::msgFormatter(log4cplus::Logger* logger, int logLevel)
{
    if (!logger->isEnabledFor(logLevel)) return;
    logger->forcedLog(logLevel, LOG4CPLUS_STRING_TO_TSTRING(_details->message), getFile(),
                      getLine());
}

FatalError::FatalError(int line, char const* file, std::string const& message,
                       log4cplus::Logger* logger, int logLevel)
    : Error(line, file, message, logger, logLevel)
{
}

FatalError::FatalError(FatalError const& other) noexcept = default;
FatalError& FatalError::operator=(FatalError const& other) noexcept = default;
FatalError::~FatalError() = default;
