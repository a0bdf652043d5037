#include "math/MathError.h"

#include <log4cplus/loglevel.h>
#include <log4cplus/nullappender.h>

namespace {

log4cplus::Logger makeMathLogger()
{
    auto logger = log4cplus::Logger::getInstance(LOG4CPLUS_TEXT("Math"));
    logger.addAppender(log4cplus::SharedAppenderPtr(new log4cplus::NullAppender));
    return logger;
}

}  // namespace

// 101 is the first priority open to programs: the logger stands before any ordinary global whose
// initialiser may throw through it, also when the library is linked statically.
__attribute__((init_priority(101))) log4cplus::Logger g_MathLogger = makeMathLogger();

void measuremath::fail(char const* message, int line, char const* file)
{
    throw MathError(line, file, message, &g_MathLogger, log4cplus::ERROR_LOG_LEVEL);
}

MathError::MathError(int line, char const* file, std::string const& message,
                     log4cplus::Logger* logger, int logLevel)
    : Error(line, file, message, logger, logLevel)
{
}

MathError::MathError(MathError const& other) noexcept = default;
MathError& MathError::operator=(MathError const& other) noexcept = default;
MathError::~MathError() = default;

MathFatalError::MathFatalError(int line, char const* file, std::string const& message,
                               log4cplus::Logger* logger, int logLevel)
    : FatalError(line, file, message, logger, logLevel)
{
}

MathFatalError::MathFatalError(MathFatalError const& other) noexcept = default;
MathFatalError& MathFatalError::operator=(MathFatalError const& other) noexcept = default;
MathFatalError::~MathFatalError() = default;
