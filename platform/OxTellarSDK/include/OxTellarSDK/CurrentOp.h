#ifndef OXTELLARSDK_CURRENTOP_H
#define OXTELLARSDK_CURRENTOP_H

#include <string>

#include <OxTellarSDK/Export.h>

namespace OxOpType {

/// The Op for which the calling thread runs code of an op type, as errors of cooks name it:
/// 'scene.json:14:5: Op "row" (Array)', without a place if none is known. Empty outside of cooks,
/// preparations and checks. For the messages that op types log.
OXTELLARSDK_API std::string DescribeCurrentOp();

} // namespace OxOpType

#endif
