#ifndef TELLAR_TEST_FILESIZELIMIT_H
#define TELLAR_TEST_FILESIZELIMIT_H

#include <csignal>

#include <sys/resource.h>

/// While it lives, no file can grow beyond a size by writes of this process: they fail.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) : handlerBefore(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit limited{bytes, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limited);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handlerBefore);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    void (*const handlerBefore)(int);
    rlimit before{};
};

#endif
