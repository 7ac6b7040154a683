#ifndef OXTELLARSDK_TESTS_MAPPEDFILES_H
#define OXTELLARSDK_TESTS_MAPPEDFILES_H

#include <fstream>
#include <string>

/// How often a file is mapped into this process, whatever stands behind its path by now.
inline int NumberOfMappings(const std::string& path) {
    int count = 0;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        count += line.find(path) != std::string::npos;
    return count;
}

inline bool IsMapped(const std::string& path) {
    return NumberOfMappings(path) > 0;
}

#endif
