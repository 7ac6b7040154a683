#include "GltfJson.h"

#include <stdexcept>

#include "GltfError.h"

namespace TellarSceneImport {

void GltfError(const std::string& what) {
    throw std::runtime_error("damaged glTF: " + what);
}

const Json* Member(const Json* object, const char* name) {
    if (!object || !object->IsObject()) return nullptr;
    const auto found = object->FindMember(name);
    return found == object->MemberEnd() ? nullptr : &found->value;
}

const Json* ArrayMember(const Json* object, const char* name) {
    const Json* found = Member(object, name);
    if (found && !found->IsArray()) GltfError(std::string("\"") + name + "\" is no array");
    return found;
}

rapidjson::SizeType SizeOf(const Json* array) {
    return array ? array->Size() : 0;
}

std::string TextMember(const Json* object, const char* name) {
    const Json* found = Member(object, name);
    return found && found->IsString() ? std::string(found->GetString(), found->GetStringLength())
                                      : std::string();
}

} // namespace TellarSceneImport
