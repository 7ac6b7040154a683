#ifndef TELLAR_RENDEROUTPUTLOGGER_H
#define TELLAR_RENDEROUTPUTLOGGER_H

#include <OxLoggingHost/OxLoggerGlue.h>

namespace TELLAR {
namespace RenderOutputUtilsHost {

/// "RenderOutputUtils".
const OxLoggerGlue& Logger();

} // namespace RenderOutputUtilsHost
} // namespace TELLAR

#endif
