#include <OxTellarProducers/ProceduralArguments.h>

namespace TELLAR {

using Context = ProceduralOutputContextInfo;

Context::ProceduralOutputContextInfo() = default;
Context::ProceduralOutputContextInfo(const Context& other) = default;
Context::ProceduralOutputContextInfo(Context&& other) noexcept = default;
Context& Context::operator=(const Context& other) = default;
Context& Context::operator=(Context&& other) noexcept = default;

} // namespace TELLAR
