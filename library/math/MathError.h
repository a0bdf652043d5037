#pragma once

/// @file
/// The errors of the library, its logger, and the one way in which the library throws.
///
/// Every failure that the library reports by an exception is a MathError, logged once through
/// `g_MathLogger` at log4cplus's error level (40000) with its message and place. Configure
/// log4cplus to see the records; an unconfigured program prints nothing.

#include "error/Error.h"
#include "math/Export.h"

#include <log4cplus/logger.h>

#include <string>

/// The exception that the library throws.
class MEASUREMATH_API MathError : public Error {
public:
    /// Parameters as for Error.
    MathError(int line, char const* file, std::string const& message, log4cplus::Logger* logger,
              int logLevel);
    MathError(MathError const& other) noexcept;  ///< Copies the other.
    /// Takes over the contents of the other.
    MathError& operator=(MathError const& other) noexcept;
    ~MathError() override;
};

/// For callers' own fatal errors; the library never throws it.
class MEASUREMATH_API MathFatalError : public FatalError {
public:
    /// Parameters as for Error.
    MathFatalError(int line, char const* file, std::string const& message,
                   log4cplus::Logger* logger, int logLevel);
    MathFatalError(MathFatalError const& other) noexcept;  ///< Copies the other.
    /// Takes over the contents of the other.
    MathFatalError& operator=(MathFatalError const& other) noexcept;
    ~MathFatalError() override;
};

/// The logger "Math". Its level is inherited and its records go to the root's appenders too; its
/// own appender is a null one, so that log4cplus does not complain where nothing is configured.
extern MEASUREMATH_API log4cplus::Logger g_MathLogger;

/// Names that the library shares between its own headers.
namespace measuremath {

/// Throws the MathError with this message for the caller's place.
[[noreturn]] MEASUREMATH_API void fail(char const* message, int line = __builtin_LINE(),
                                       char const* file = __builtin_FILE());

/// Fails with this message, for the caller's place, unless `ok`.
inline void require(bool ok, char const* message, int line = __builtin_LINE(),
                    char const* file = __builtin_FILE())
{
    if (!ok) fail(message, line, file);
}

}  // namespace measuremath
