#ifndef SCENEIMPORT_LARGESTACK_H
#define SCENEIMPORT_LARGESTACK_H

#include <cstddef>
#include <exception>
#include <stdexcept>

#include <boost/thread/thread.hpp>

namespace TellarSceneImport {

/// Runs `body` on a thread with a stack of 256 MiB, waits for its end and passes its exception on.
/// Readers follow nodes and brackets of a file recursively, and the threads that cook may have
/// small stacks. Only the used part of the stack takes memory. Throws std::runtime_error if the
/// thread cannot be started.
template <typename Body>
void RunOnLargeStack(Body body) {
    constexpr std::size_t kStackSize = std::size_t(256) << 20;
    std::exception_ptr failure;
    boost::thread::attributes attributes;
    attributes.set_stack_size(kStackSize);
    const auto run = [&] {
        try {
            body();
        } catch (...) {
            failure = std::current_exception();
        }
    };
    boost::thread thread;
    try {
        thread = boost::thread(attributes, run);
    } catch (const boost::thread_resource_error&) {
        throw std::runtime_error("no thread with a stack of 256 MiB can be started to read it");
    }
    thread.join();
    if (failure) std::rethrow_exception(failure);
}

} // namespace TellarSceneImport

#endif
