#ifndef OXTELLARSDK_TESTS_TESTOPS_H
#define OXTELLARSDK_TESTS_TESTOPS_H

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <OxTellarSDK/OpType.h>
#include <OxTellarSDK/TellarRuntime.h>

#include "ErrorOf.h"

/// Op types and graphs for tests of the runtime.
namespace TestOps {

using OxAttribute::GroupAttribute;
using OxAttribute::IntAttribute;
using OxAttribute::StringAttribute;
using OxOpType::CookContext;
using Op = std::shared_ptr<TellarRuntime::Op>;
using Client = std::shared_ptr<TellarRuntime::Client>;
using LocationData = TellarRuntime::LocationData;

/// How often something happened, by name. Safe from many threads.
class Counter {
public:
    /// Returns the count and resets it to 0, so that tests can be repeated.
    static int take(const std::string& name) { return of(name).exchange(0); }

    static std::atomic<int>& of(const std::string& name) {
        static auto* const lock = new std::mutex;
        static auto* const counters = new std::map<std::string, std::atomic<int>>;
        const std::lock_guard<std::mutex> guard(*lock);
        return (*counters)[name];
    }
};

inline std::string Text(const GroupAttribute& group, std::string_view name) {
    return StringAttribute(group.getChildByName(name)).getValue("", false);
}
inline int Number(const GroupAttribute& group, std::string_view name) {
    return IntAttribute(group.getChildByName(name)).getValue(0, false);
}

class FunctionType : public OxOpType::OpType {
public:
    using Body = std::function<void(CookContext&)>;
    FunctionType(const std::string& name, Body body, int version) : body(std::move(body)) {
        about.name = name;
        about.version = version;
    }
    const OxOpType::Description& description() const override { return about; }
    /// Every cook counts under the argument "counter".
    void cook(CookContext& context) const override {
        ++Counter::of(Text(context.args(), "counter"));
        body(context);
    }

private:
    OxOpType::Description about;
    Body body;
};

/// A type that lives to the end of the process, as all do. Returns its name, for constants.
inline std::string Register(const std::string& name, FunctionType::Body body, int version = 1) {
    RegisterOpType(new FunctionType(name, std::move(body), version));
    return name;
}

/// Every location exists, with the attributes "path" and "value" and the children "children".
inline const std::string kSource = Register("TestSource", [](CookContext& context) {
    context.setAttrs(GroupAttribute({{"path", StringAttribute(context.path())},
                                     {"value", IntAttribute(Number(context.args(), "value"))}},
                                    true));
    context.setPotentialChildren(StringAttribute(context.args().getChildByName("children")));
});

inline const std::string kPass =
    Register("TestPass", [](CookContext& context) { context.pass(context.input(0)); });

/// Adds up the attribute "value" of all its inputs.
inline const std::string kSum = Register("TestSum", [](CookContext& context) {
    int sum = 0;
    for (std::size_t i = 0; i < context.numberOfInputs(); ++i)
        sum += Number(context.input(i).getAttrs(), "value");
    context.setAttrs(GroupAttribute({{"value", IntAttribute(sum)}}, true));
});

inline const std::string kThrow = Register("TestThrow", [](CookContext& context) {
    throw std::runtime_error(Text(context.args(), "message"));
});

/// Nothing exists.
inline const std::string kNothing = Register("TestNothing", [](CookContext&) {});

/// "/root/left..." comes from the first input, everything else from the second.
inline const std::string kSwitch = Register("TestSwitch", [](CookContext& context) {
    context.pass(context.input(context.path().rfind("/root/left", 0) == 0 ? 0 : 1));
});

/// A graph under construction, then a client that looks at it.
class Graph {
public:
    explicit Graph(std::shared_ptr<TellarRuntime> existing = TellarRuntime::create())
        : runtime(std::move(existing)), transaction(runtime->createTransaction()) {}

    Op op(const std::string& type, const std::vector<GroupAttribute::Child>& args = {},
          const std::vector<Op>& inputs = {}, const std::string& name = "") {
        const Op made = transaction->createOp();
        transaction->setOpArgs(made, type, GroupAttribute(args, true));
        if (!inputs.empty()) transaction->setOpInputs(made, inputs);
        if (!name.empty()) transaction->setOpName(made, name);
        return made;
    }

    /// `length` Ops on top of `bottom`, each passing on what it finds.
    Op chain(Op bottom, int length) {
        for (int i = 0; i < length; ++i)
            bottom = op(kPass, {}, {bottom});
        return bottom;
    }

    /// A client of the transaction, usable when that is committed.
    Client client(const Op& terminal) {
        const Client made = transaction->createClient();
        transaction->setClientOp(made, terminal);
        return made;
    }

    Client commit(const Op& terminal) {
        const Client made = client(terminal);
        commit();
        return made;
    }
    void commit() { runtime->commit(transaction); }

    std::shared_ptr<TellarRuntime> runtime;
    std::shared_ptr<TellarRuntime::Transaction> transaction;
};

/// A cycle of ops that are named after letters: with "abc", a has the input b, b has c, and c has
/// a.
class Circle : public Graph {
public:
    explicit Circle(const std::string& names) {
        for (const char name : names)
            ops.push_back(op(kPass, {}, {}, std::string(1, name)));
        for (std::size_t i = 0; i < ops.size(); ++i)
            transaction->setOpInputs(ops[i], {ops[(i + 1) % ops.size()]});
    }
    std::vector<Op> ops;
};

inline std::pair<std::string, OxAttribute::Attribute> Counted(const std::string& name) {
    return {"counter", StringAttribute(name)};
}
inline std::pair<std::string, OxAttribute::Attribute> Value(int value) {
    return {"value", IntAttribute(value)};
}

inline int ValueAt(const Client& client, const std::string& path) {
    return Number(client->cookLocation(path).getAttrs(), "value");
}
inline bool Exists(const Client& client, const std::string& path) {
    return client->cookLocation(path).doesLocationExist();
}
inline std::vector<std::string> StringsOf(const StringAttribute& attribute) {
    std::vector<std::string> strings;
    for (const std::string_view string : attribute.getNearestSample(0))
        strings.emplace_back(string);
    return strings;
}

/// The error of cooking a location, or "no error".
inline std::string CookError(const Client& client, const std::string& path) {
    return ErrorOf([&] { client->cookLocation(path); });
}

} // namespace TestOps

#endif
