#ifndef TELLAR_TEST_CAPTUREDLOG_H
#define TELLAR_TEST_CAPTUREDLOG_H

#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <OxLoggingHost/OxLoggerGlue.h>

/// Collects what is logged while it lives and puts the sink before it back at its end.
class CapturedLog {
public:
    CapturedLog()
        : previousSink(OxLoggingSetSink([collected = collected](const OxLogMessage& message) {
              const std::lock_guard<std::mutex> lock(collected->mutex);
              collected->messages.push_back(message);
          })) {}
    ~CapturedLog() { OxLoggingSetSink(std::move(previousSink)); }
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    std::vector<OxLogMessage> messages() const {
        const std::lock_guard<std::mutex> lock(collected->mutex);
        return collected->messages;
    }

    /// The texts of one logger's messages, in order.
    std::vector<std::string> textsOf(const std::string& loggerName) const {
        std::vector<std::string> texts;
        for (const OxLogMessage& message : messages()) {
            if (message.loggerName == loggerName) texts.push_back(message.text);
        }
        return texts;
    }

private:
    struct Collected {
        std::mutex mutex;
        std::vector<OxLogMessage> messages;
    };
    // Shared with the sink, which a late thread may still be running.
    std::shared_ptr<Collected> collected = std::make_shared<Collected>();
    OxLogSink previousSink;
};

#endif
