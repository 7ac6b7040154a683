#include <OxTellarProducers/OpTreeDescription.h>

#include <iostream>

#include <OxTellarSDK/AttributeSuite.h>
#include <OxTellarSDK/FileStream.h>

#include "PathExists.h"

using OxAttribute::Attribute;
using OxAttribute::FileStream;
using OxAttribute::GroupAttribute;

namespace TELLAR {

GroupAttribute LoadOpTreeDescriptionFromFile(const std::string& path, bool) {
    if (!PathExists(path)) {
        std::cerr << "LoadOpTreeDescriptionFromFile(): "
                  << "Op tree file \"" << path << "\" does not exist." << std::endl;
        return {};
    }
    if (!OxGetAttributeSuite()) {
        std::cerr << "LoadOpTreeDescriptionFromFile(): "
                  << "OxAttribute suite is null!" << std::endl;
        return {};
    }
    FileStream stream(path, true);
    return Attribute::readAttributeStream(&stream, &FileStream::read, 0);
}

} // namespace TELLAR
