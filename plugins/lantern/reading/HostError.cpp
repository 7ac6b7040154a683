#include "reading/HostError.h"

namespace lantern {

RenderError HostError::asRenderError() const {
    OxErrorFacts facts{};
    suites.attributes().getErrorFacts(error, &facts);
    RenderError result(facts.text, facts.code);
    result.op = facts.op;
    result.opType = facts.opType;
    result.location = facts.location;
    result.attribute = facts.attribute;
    result.file = facts.file;
    return result;
}

} // namespace lantern
