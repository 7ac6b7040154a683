#include "Question.h"

#include <cstdio>

#include <OxTellarProducers/OxSgIterator.h>

namespace TELLAR {

namespace {

thread_local const SuiteCall* currentCall = nullptr;

std::string Quoted(const std::string& text) {
    return '"' + text + '"';
}

std::string NumberText(const CallValue& value) {
    const ScalarType type = value.getType().scalar;
    if (type != ScalarType::Float && type != ScalarType::Double)
        return std::to_string(value.getInteger());
    char text[40];
    std::snprintf(text, sizeof text, "%g", value.getNumber());
    return text;
}

/// Empty for what a reader would not understand.
std::string ArgumentText(const CallValue& value) {
    switch (value.getType().role) {
    case ValueRole::Scalar:
        return NumberText(value);
    case ValueRole::Text: {
        const char* const text = value.get<const char*>();
        return text ? Quoted(text) : "null";
    }
    case ValueRole::Handle: {
        if (value.getType().handle != HandleKind::Location) return {};
        const auto location = OxHandleToGeometryProducer(value.get<OxSgIteratorStruct*>());
        return location ? Quoted(location->getFullName()) : "null";
    }
    default:
        return {};
    }
}

} // namespace

std::string QuestionText(const SuiteCall& call) {
    std::string arguments;
    for (int i = 0; i < call.getArgumentCount(); ++i) {
        const std::string text = ArgumentText(call.getArgument(i));
        if (!text.empty()) arguments += (arguments.empty() ? "" : ", ") + text;
    }
    return std::string(call.getSlot().name) + '(' + arguments + ')';
}

CurrentQuestion::CurrentQuestion(const SuiteCall& call) : before(currentCall) {
    currentCall = &call;
}

CurrentQuestion::~CurrentQuestion() {
    currentCall = before;
}

std::string CurrentQuestion::getText() {
    return currentCall ? QuestionText(*currentCall) : std::string();
}

} // namespace TELLAR
