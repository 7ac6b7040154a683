/* A library of somebody else's with thread-local storage. */

static __thread char memory[TELLAR_TEST_TLS_BYTES];

__attribute__((visibility("default"))) char* GetThreadLocalMemory(void) {
    return memory;
}
