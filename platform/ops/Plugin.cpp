// The exported functions of the module: one plug-in record for each op type.

#include <iterator>

#include <OxTellarSDK/OpType.h>
#include <OxTellarSDK/OxPluginApi.h>

#include "OpTypes.h"

namespace TellarOps {
namespace {

template <const OxOpType::OpType* (*GetOpType)()>
const void* GetSuite() {
    static constexpr OxOpTypePluginSuite_v3 suite = {GetOpType};
    return &suite;
}

template <const OxOpType::OpType* (*GetOpType)()>
constexpr OxPluginRecord_v1 Record(const char* name) {
    return {OX_PLUGIN_RECORD_VERSION,    name,    OxOpType::kPluginApiName,
            OxOpType::kPluginApiVersion, 1,       0,
            GetSuite<GetOpType>,         nullptr, nullptr};
}

constexpr OxPluginRecord_v1 kRecords[] = {
    Record<ArrayOpType>("Array"),
    Record<AttributeEditOpType>("AttributeEdit"),
    Record<CameraOpType>("Camera"),
    Record<CapturedSceneOpType>("CapturedScene"),
    Record<InstancesOpType>("Instances"),
    Record<MaterialAssignOpType>("MaterialAssign"),
    Record<MergeOpType>("Merge"),
    Record<PruneOpType>("Prune"),
    Record<RenderSettingsOpType>("RenderSettings"),
    Record<ShareOpType>("Share"),
    Record<StaticSceneOpType>("StaticScene"),
    Record<TransformOpType>("Transform"),
};

} // namespace
} // namespace TellarOps

unsigned int OxGetPluginCount(void) {
    return static_cast<unsigned int>(std::size(TellarOps::kRecords));
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return index < OxGetPluginCount() ? &TellarOps::kRecords[index] : nullptr;
}
