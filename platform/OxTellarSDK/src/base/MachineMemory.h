#ifndef OXTELLARSDK_MACHINEMEMORY_H
#define OXTELLARSDK_MACHINEMEMORY_H

#include <cstdint>
#include <string>

namespace OxTellarMemory {

/// How many bytes of memory this process may take: those of the machine, or of the control group
/// (version 1 or 2) that the process belongs to, or of a group above that, whichever is least.
/// kUnlimitedMemory when nothing tells.
///
/// The root folder is that of the file system, except in tests: "" is the machine's own.
std::uint64_t FindMachineMemory(const std::string& root);

} // namespace OxTellarMemory

#endif
