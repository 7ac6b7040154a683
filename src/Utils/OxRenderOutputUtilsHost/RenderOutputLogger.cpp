#include "RenderOutputLogger.h"

const OxLoggerGlue& TELLAR::RenderOutputUtilsHost::Logger() {
    static const auto* const logger = new OxLoggerGlue("RenderOutputUtils");
    return *logger;
}
