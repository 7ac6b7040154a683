#ifndef TELLAR_TEST_SCENEBUILDERS_H
#define TELLAR_TEST_SCENEBUILDERS_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <OxTellarProducers/OpTreeSource.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/TellarRuntime.h>

/// Scenes and op trees, built in the layout of a description file.
namespace TellarTest {

using Children = std::vector<OxAttribute::GroupAttribute::Child>;

inline OxAttribute::GroupAttribute Group(const Children& children) {
    return OxAttribute::GroupAttribute(children, true);
}

inline OxAttribute::Attribute Text(std::string_view text) {
    return OxAttribute::StringAttribute(text);
}

inline OxAttribute::StringAttribute Texts(const std::vector<std::string>& texts) {
    return OxAttribute::StringAttribute(texts, 1);
}

inline OxAttribute::Attribute Int(int value) {
    return OxAttribute::IntAttribute(value);
}

inline OxAttribute::Attribute Doubles(const std::vector<double>& values) {
    return OxAttribute::DoubleAttribute(values, 1);
}

/// One location of a scene description: its attributes "a" and its child locations "c", which are
/// left out if there are none.
inline OxAttribute::GroupAttribute Location(const Children& attrs, const Children& children = {}) {
    Children parts{{"a", Group(attrs)}};
    if (!children.empty()) parts.emplace_back("c", Group(children));
    return Group(parts);
}

/// One Op of an op-tree description.
inline OxAttribute::GroupAttribute OpEntry(const std::string& type,
                                           const OxAttribute::GroupAttribute& args = {},
                                           const std::vector<std::string>& inputs = {}) {
    Children parts{{"opType", Text(type)}, {"opArgs", args}};
    if (!inputs.empty()) parts.emplace_back("opInputs", Texts(inputs));
    return Group(parts);
}

/// An op tree whose only Op presents `root` as the location /root.
inline OxAttribute::GroupAttribute SceneTree(const OxAttribute::GroupAttribute& root) {
    return Group({{"scene", OpEntry("StaticScene", root)}});
}

/// A text that no other call in the process gets. An op tree that contains it shares no cooks,
/// clients or stores with other tests.
inline std::string UniqueTag() {
    static std::atomic<int> last{0};
    return "tag " + std::to_string(++last);
}

/// A client with a runtime of its own, which it keeps alive.
inline std::shared_ptr<TellarRuntime::Client>
MakeClient(const OxAttribute::GroupAttribute& opTreeDescription) {
    const auto runtime = TellarRuntime::create();
    const auto transaction = runtime->createTransaction();
    const auto source = TELLAR::OpTreeSource::createFromGroupAttribute(opTreeDescription);
    const auto client = transaction->createClient();
    transaction->setClientOp(client, source.getOp(transaction));
    runtime->commit(transaction);
    return client;
}

/// The values of the sample nearest to time 0.
inline std::vector<std::string> ValuesOf(const OxAttribute::StringAttribute& attribute) {
    std::vector<std::string> values;
    for (const std::string_view value : attribute.getNearestSample(0.0f))
        values.emplace_back(value);
    return values;
}

/// The names of the children, in order.
inline std::vector<std::string> NamesOf(const OxAttribute::GroupAttribute& group) {
    std::vector<std::string> names;
    for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i)
        names.push_back(group.getChildName(i));
    return names;
}

/// The value of an int attribute; -1 for anything else.
inline int IntOf(const OxAttribute::Attribute& attribute) {
    return OxAttribute::IntAttribute(attribute).getValue(-1, false);
}

/// The value of a string attribute; "no text" for anything else.
inline std::string TextOf(const OxAttribute::Attribute& attribute) {
    return OxAttribute::StringAttribute(attribute).getValue("no text", false);
}

} // namespace TellarTest

#endif
