#include "Unlocked.h"

#include <chrono>
#include <thread>

namespace TellarPython {

Unlock::~Unlock() {
    try {
        PyEval_RestoreThread(state);
    } catch (...) { // pthread_exit
        for (;;)
            std::this_thread::sleep_for(std::chrono::hours(1));
    }
}

} // namespace TellarPython
