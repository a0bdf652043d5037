#pragma once

#include "math/MathError.h"

#include <log4cplus/loglevel.h>

#include <sstream>

namespace measuremath {

/// Level of a record and the place of the statement that logs it.
struct LogPlace {
    LogPlace(int recordLevel, int recordLine = __builtin_LINE(),
             char const* recordFile = __builtin_FILE())
        : level(recordLevel),
          line(recordLine),
          file(recordFile)
    {
    }

    int level;
    int line;
    char const* file;
};

/// Writes the parts one after another, with a stream's default formatting, as one record of
/// `g_MathLogger`. Nothing is formatted unless the logger is enabled for the level.
template <class... Parts>
void log(LogPlace const& place, Parts const&... parts)
{
    if (!g_MathLogger.isEnabledFor(place.level)) return;
    std::ostringstream text;
    (text << ... << parts);
    g_MathLogger.forcedLog(place.level, LOG4CPLUS_STRING_TO_TSTRING(text.str()), place.file,
                           place.line);
}

}  // namespace measuremath
