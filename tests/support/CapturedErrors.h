#ifndef TELLAR_TEST_CAPTUREDERRORS_H
#define TELLAR_TEST_CAPTUREDERRORS_H

#include <iostream>
#include <sstream>
#include <string>

/// Collects what is written to std::cerr while it lives.
class CapturedErrors {
public:
    CapturedErrors() : previous(std::cerr.rdbuf(collected.rdbuf())) {}
    ~CapturedErrors() { std::cerr.rdbuf(previous); }
    CapturedErrors(const CapturedErrors&) = delete;
    CapturedErrors& operator=(const CapturedErrors&) = delete;

    std::string text() const { return collected.str(); }

private:
    std::ostringstream collected;
    std::streambuf* previous;
};

#endif
