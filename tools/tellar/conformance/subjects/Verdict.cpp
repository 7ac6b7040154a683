#include "Verdict.h"

#include <cstdio>

#include "PrintableText.h"

namespace TellarTool {

void Verdict::fault(const std::string& text) {
    write(kFaultMark, text);
}

void Verdict::note(const std::string& text) {
    write(kNoteMark, text);
}

void Verdict::skip(const std::string& reason) {
    write(kSkipMark, reason);
}

void Verdict::step(const std::string& text) {
    write(kStepMark, text);
}

bool Verdict::expect(bool condition, const std::string& textOfFault) {
    if (!condition) fault(textOfFault);
    return condition;
}

void Verdict::write(const std::string& kind, const std::string& text) {
    std::string line = kind;
    AppendPrintable(line, text);
    line += '\n';
    const std::lock_guard<std::mutex> guard(lock);
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fflush(stdout);
}

} // namespace TellarTool
