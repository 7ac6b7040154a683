#ifndef TELLAR_TEST_ASKEDPRODUCER_H
#define TELLAR_TEST_ASKEDPRODUCER_H

#include <set>
#include <string>
#include <utility>
#include <vector>

#include <OxTellarProducers/GeometryProducer.h>

namespace TellarTest {

/// A producer that has every child that it is asked for and records what the base class asks it.
class AskedProducer : public TELLAR::GeometryProducer {
public:
    using Questions = std::vector<std::string>;

    AskedProducer(std::string producerName, Questions& askedQuestions,
                  TELLAR::GeometryProducer::Ptr parentProducer = nullptr)
        : GeometryProducer(std::move(parentProducer)), name(std::move(producerName)),
          questions(askedQuestions) {}

    void getAttributeNames(std::set<std::string>*) override {}
    OxAttribute::StringAttribute getPotentialChildren() override { return {}; }
    OxAttribute::Attribute getAttribute(const char* attribute) override {
        questions.push_back(name + " " + attribute);
        return {};
    }
    std::string getName() override { return name; }
    std::string getFullName() override {
        questions.push_back(name + " in full");
        return "/" + name;
    }
    std::string getHash() override { return {}; }
    TELLAR::GeometryProducer::Ptr getChildByName(const char* child, bool evict) override {
        questions.push_back(name + (evict ? " evicts " : " looks at ") + child);
        return new AskedProducer(child, questions, this);
    }
    TELLAR::GeometryProducer::Ptr getFirstChild(bool) override { return nullptr; }
    TELLAR::GeometryProducer::Ptr getNextSibling(bool) override { return nullptr; }

private:
    const std::string name;
    Questions& questions;
};

} // namespace TellarTest

#endif
