#ifndef TELLAR_TOOL_SUBJECT_H
#define TELLAR_TOOL_SUBJECT_H

#include <string>
#include <vector>

namespace TellarTool {

/// A plug-in under test: what one library offers under one API and name.
struct Subject {
    std::string api;
    std::string name;
    std::vector<unsigned int> versions; // of the API, ascending; empty for a built-in op type
    std::string file;                   // its library; empty for a built-in op type
    /// A scene with Ops of the type under test; empty when the user gave none.
    std::string scene;
    /// The extension of the pictures that the renderer under test shall write.
    std::string format;
    /// A folder of this check for files, with a slash at its end.
    std::string folder;

    std::string fileNamed(const std::string& leaf) const { return folder + leaf; }
    bool hasVersion(unsigned int version) const;
};

/// Loads the plug-ins that a user names: by the path of a library, or by the name of a renderer or
/// an op type. Throws std::runtime_error naming it and why it cannot be used. To be called once in
/// a process, before the first plug-in is loaded.
std::vector<Subject> LoadSubjects(const std::string& plugin);

} // namespace TellarTool

#endif
