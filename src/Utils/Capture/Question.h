#ifndef OXTELLARPRODUCERS_QUESTION_H
#define OXTELLARPRODUCERS_QUESTION_H

#include <string>

#include "SuiteCall.h"

namespace TELLAR {

/// A call with its locations, texts and numbers: getChildByName("/root/world", "x", 0).
std::string QuestionText(const SuiteCall& call);

/// The call of a plug-in that this thread carries out while the object lives.
class CurrentQuestion {
public:
    explicit CurrentQuestion(const SuiteCall& call);
    ~CurrentQuestion();
    CurrentQuestion(const CurrentQuestion&) = delete;
    CurrentQuestion& operator=(const CurrentQuestion&) = delete;

    /// The text of the innermost one on this thread; empty if there is none.
    static std::string getText();

private:
    const SuiteCall* const before;
};

} // namespace TELLAR

#endif
