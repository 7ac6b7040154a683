#ifndef SCENEIMPORT_TESTS_IMPORTEDSCENE_H
#define SCENEIMPORT_TESTS_IMPORTEDSCENE_H

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/GroupBuilder.h>
#include <OxTellarSDK/TellarRuntime.h>

/// Arguments of a SceneImport Op: the file, and whatever else is set.
class ImportArgs {
public:
    explicit ImportArgs(const std::string& file) {
        set("file", OxAttribute::StringAttribute(file));
    }
    ImportArgs& set(const std::string& name, const OxAttribute::Attribute& value) {
        args.set(name, value);
        return *this;
    }
    ImportArgs& set(const std::string& name, double value) {
        return set(name, OxAttribute::DoubleAttribute(value));
    }
    ImportArgs& set(const std::string& name, const char* value) {
        return set(name, OxAttribute::StringAttribute(value));
    }
    OxAttribute::GroupAttribute build() const { return args.build(OxAttribute::BuildAndRetain); }

private:
    mutable OxAttribute::GroupBuilder args;
};

/// One SceneImport Op in a runtime of its own, used as any program uses it: the op type comes
/// from the plug-in.
class ImportedScene {
public:
    explicit ImportedScene(const ImportArgs& args) {
        const auto transaction = runtime->createTransaction();
        const auto op = transaction->createOp();
        transaction->setOpArgs(op, "SceneImport", args.build());
        client = transaction->createClient();
        transaction->setClientOp(client, op);
        runtime->commit(transaction);
    }
    explicit ImportedScene(const std::string& file) : ImportedScene(ImportArgs(file)) {}

    const std::shared_ptr<TellarRuntime::Client>& getClient() const { return client; }
    TellarRuntime::LocationData cook(const std::string& path) const {
        return client->cookLocation(path);
    }
    void evict(const std::string& path) const { runtime->evict(path); }
    bool exists(const std::string& path) const { return cook(path).doesLocationExist(); }

    /// Throws when the location does not exist: a test that looks at nothing shows nothing.
    OxAttribute::GroupAttribute attrs(const std::string& path) const {
        const auto data = cook(path);
        if (!data.doesLocationExist()) throw std::runtime_error("There is no " + path);
        return data.getAttrs();
    }
    OxAttribute::Attribute attr(const std::string& path, const std::string& name) const {
        return attrs(path).getChildByName(name);
    }
    std::string text(const std::string& path, const std::string& name) const {
        return OxAttribute::StringAttribute(attr(path, name)).getValue("(none)", false);
    }
    std::string type(const std::string& path) const { return text(path, "type"); }
    std::vector<float> floats(const std::string& path, const std::string& name) const {
        const auto sample = OxAttribute::FloatAttribute(attr(path, name)).getNearestSample(0);
        return {sample.begin(), sample.end()};
    }
    std::vector<int> ints(const std::string& path, const std::string& name) const {
        const auto sample = OxAttribute::IntAttribute(attr(path, name)).getNearestSample(0);
        return {sample.begin(), sample.end()};
    }
    std::vector<double> doubles(const std::string& path, const std::string& name,
                                float time = 0) const {
        const auto sample = OxAttribute::DoubleAttribute(attr(path, name)).getNearestSample(time);
        return {sample.begin(), sample.end()};
    }
    std::vector<float> times(const std::string& path, const std::string& name) const {
        const OxAttribute::DoubleAttribute values(attr(path, name));
        std::vector<float> times;
        for (std::int64_t i = 0; i < values.getNumberOfTimeSamples(); ++i)
            times.push_back(values.getSampleTime(i));
        return times;
    }
    std::vector<std::string> children(const std::string& path) const {
        const auto names = cook(path).getPotentialChildren();
        std::vector<std::string> children;
        for (const std::string_view name : names.getNearestSample(0))
            children.emplace_back(name);
        return children;
    }

    /// The text of the exception that cooking the location throws; empty when it throws none.
    std::string error(const std::string& path = "/root/world") const {
        try {
            cook(path);
            return "";
        } catch (const std::runtime_error& error) {
            return error.what();
        }
    }

private:
    std::shared_ptr<TellarRuntime> runtime = TellarRuntime::create();
    std::shared_ptr<TellarRuntime::Client> client;
};

#endif
