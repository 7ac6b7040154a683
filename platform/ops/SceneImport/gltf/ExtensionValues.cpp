#include "ExtensionValues.h"

#include <cmath>

namespace TellarSceneImport {

using tinygltf::Value;

const Value* FindExtension(const tinygltf::ExtensionMap& extensions, const char* name) {
    const auto found = extensions.find(name);
    return found != extensions.end() && found->second.IsObject() ? &found->second : nullptr;
}

const Value* FindMember(const Value& object, const char* name) {
    return object.Has(name) ? &object.Get(name) : nullptr;
}

double NumberOf(const Value& object, const char* name, double fallback) {
    const Value* value = FindMember(object, name);
    if (!value || !value->IsNumber()) return fallback;
    const double number = value->GetNumberAsDouble();
    return std::isfinite(static_cast<float>(number)) ? number : fallback;
}

int IndexOf(const Value& object, const char* name) {
    const Value* value = FindMember(object, name);
    return value && value->IsInt() && value->Get<int>() >= 0 ? value->Get<int>() : -1;
}

std::string TextOf(const Value& object, const char* name) {
    const Value* value = FindMember(object, name);
    return value && value->IsString() ? value->Get<std::string>() : std::string();
}

Color ColorOf(const Value& object, const char* name, const Color& fallback) {
    const Value* value = FindMember(object, name);
    if (!value || value->ArrayLen() < 3) return fallback;
    Color color;
    for (int i = 0; i < 3; ++i) {
        const Value& component = value->Get(i);
        color[i] = component.IsNumber() ? static_cast<float>(component.GetNumberAsDouble()) : 0;
        if (!std::isfinite(color[i])) return fallback;
    }
    return color;
}

} // namespace TellarSceneImport
