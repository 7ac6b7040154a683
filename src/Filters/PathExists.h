#ifndef OXTELLARPRODUCERS_PATHEXISTS_H
#define OXTELLARPRODUCERS_PATHEXISTS_H

#include <string>

#include <sys/stat.h>

namespace TELLAR {

/// Whether the file system has an entry of any kind under this path.
inline bool PathExists(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0;
}

} // namespace TELLAR

#endif
