#ifndef SCENEIMPORT_PROCESSIMAGES_H
#define SCENEIMPORT_PROCESSIMAGES_H

#include <string>
#include <string_view>

namespace TellarSceneImport {

/// Images that were inside scene files and cannot be put into the image cache. They are in a folder
/// of this process, which is made when it is first needed and removed when the process that made it
/// ends. A process that was killed leaves it to the system. Safe from any thread.
///
/// The path of a file with this content. `hint` is what ImageExtension() takes. Throws
/// std::runtime_error, with the path and the system's reason, when it cannot be written.
std::string PathOfProcessImage(std::string_view bytes, std::string_view hint);

/// The folder of these images; empty if there are none.
std::string ProcessImageFolder();

} // namespace TellarSceneImport

#endif
