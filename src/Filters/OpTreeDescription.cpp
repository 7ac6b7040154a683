#include <OxTellarProducers/OpTreeDescription.h>

#include <filesystem>
#include <iostream>
#include <system_error>

#include <OxTellarSDK/AttributeSuite.h>
#include <OxTellarSDK/FileStream.h>

using namespace OxAttribute;

namespace TELLAR {

GroupAttribute LoadOpTreeDescriptionFromFile(const std::string& path, bool) {
    std::error_code ignored;
    if (!std::filesystem::exists(path, ignored)) {
        std::cerr << "LoadOpTreeDescriptionFromFile(): Op tree file \"" << path
                  << "\" does not exist." << std::endl;
        return {};
    }
    if (!OxGetAttributeSuite()) {
        std::cerr << "LoadOpTreeDescriptionFromFile(): OxAttribute suite is null!" << std::endl;
        return {};
    }
    FileStream stream(path, true);
    return Attribute::readAttributeStream(&stream, &FileStream::read, 0);
}

} // namespace TELLAR
