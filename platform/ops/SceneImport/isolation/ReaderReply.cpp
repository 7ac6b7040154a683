#include "ReaderReply.h"

#include <charconv>
#include <stdexcept>

#include <OxTellarSDK/GroupBuilder.h>

#include "ContentGroup.h"

namespace TellarSceneImport {

using OxAttribute::GroupAttribute;
using OxAttribute::GroupBuilder;
using OxAttribute::StringAttribute;

namespace {

// A stamp is four texts: path, kind, size and time. Integer attributes are too short for these.
constexpr std::size_t kTextsOfStamp = 4;

StringAttribute StampTexts(const std::vector<FileStamp>& files) {
    std::vector<std::string> texts;
    for (const FileStamp& file : files) {
        texts.push_back(file.path);
        texts.push_back(std::to_string(static_cast<int>(file.kind)));
        texts.push_back(std::to_string(file.size));
        texts.push_back(std::to_string(file.modified.time_since_epoch().count()));
    }
    return {texts, kTextsOfStamp};
}

template <typename Number>
Number NumberIn(std::string_view text) {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || rest != end)
        throw std::runtime_error("the scene reader sent a wrong file stamp");
    return number;
}

std::vector<FileStamp> StampsIn(const StringAttribute& texts) {
    const auto sample = texts.getNearestSample(0.0f);
    std::vector<FileStamp> files;
    for (std::size_t i = 0; i + kTextsOfStamp <= sample.size(); i += kTextsOfStamp) {
        using Duration = std::filesystem::file_time_type::duration;
        FileStamp& file = files.emplace_back();
        file.path = sample[i];
        file.kind = static_cast<std::filesystem::file_type>(NumberIn<signed char>(sample[i + 1]));
        file.size = NumberIn<std::uintmax_t>(sample[i + 2]);
        file.modified =
            std::filesystem::file_time_type(Duration(NumberIn<Duration::rep>(sample[i + 3])));
    }
    return files;
}

// A message is five texts: logger, level, text, source file and line.
constexpr std::size_t kTextsOfMessage = 5;

StringAttribute MessageTexts(const std::vector<OxLogMessage>& messages) {
    std::vector<std::string> texts;
    for (const OxLogMessage& message : messages) {
        texts.push_back(message.loggerName);
        texts.push_back(std::to_string(static_cast<int>(message.level)));
        texts.push_back(message.text);
        texts.push_back(message.file);
        texts.push_back(std::to_string(message.line));
    }
    return {texts, kTextsOfMessage};
}

std::vector<OxLogMessage> MessagesIn(const StringAttribute& texts) {
    const auto sample = texts.getNearestSample(0.0f);
    std::vector<OxLogMessage> messages;
    for (std::size_t i = 0; i + kTextsOfMessage <= sample.size(); i += kTextsOfMessage) {
        OxLogMessage& message = messages.emplace_back();
        message.loggerName = sample[i];
        const int level = NumberIn<int>(sample[i + 1]);
        if (level < static_cast<int>(OxLogLevel::debug) ||
            level > static_cast<int>(OxLogLevel::error))
            throw std::runtime_error("the scene reader sent a wrong message");
        message.level = static_cast<OxLogLevel>(level);
        message.text = sample[i + 2];
        message.file = sample[i + 3];
        message.line = NumberIn<int>(sample[i + 4]);
    }
    return messages;
}

} // namespace

GroupAttribute ToGroup(const ReaderReply& reply) {
    GroupBuilder group;
    if (!reply.files.empty()) group.set("files", StampTexts(reply.files));
    if (!reply.messages.empty()) group.set("messages", MessageTexts(reply.messages));
    group.set("error", StringAttribute(reply.error));
    if (reply.error.empty()) group.set("content", ToGroup(reply.content));
    return group.build();
}

ReaderReply ReplyFrom(const GroupAttribute& group) {
    const StringAttribute error(group.getChildByName("error"));
    if (!error.isValid()) throw std::runtime_error("the scene reader sent no reply");
    ReaderReply reply;
    reply.files = StampsIn(StringAttribute(group.getChildByName("files")));
    reply.messages = MessagesIn(StringAttribute(group.getChildByName("messages")));
    reply.error = error.getValue("", false);
    if (reply.error.empty())
        reply.content = FromGroup(GroupAttribute(group.getChildByName("content")));
    return reply;
}

} // namespace TellarSceneImport
