#ifndef TELLAR_RENDEROUTPUTLOGGER_H
#define TELLAR_RENDEROUTPUTLOGGER_H

#include <OxLoggingHost/OxLoggerGlue.h>

namespace TELLAR {
namespace RenderOutputUtilsHost {

/// The logger "RenderOutputUtils".
inline const OxLoggerGlue& Logger() {
    static const auto* const logger = new OxLoggerGlue("RenderOutputUtils");
    return *logger;
}

} // namespace RenderOutputUtilsHost
} // namespace TELLAR

#endif
