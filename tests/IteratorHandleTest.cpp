#include <OxTellarProducers/OxSgIterator.h>

#include <gmock/gmock.h>

#include <OxTellarProducers/CreateGeometryProducer.h>

#include "IteratorScenes.h"
#include "SceneBuilders.h"
#include "SuiteHandles.h"

namespace {

using namespace TellarTest;
using TELLAR::GeometryProducer;
using TELLAR::OxGeometryProducerToHandle;
using TELLAR::OxHandleToGeometryProducer;

using Ptr = GeometryProducer::Ptr;

/// The number of references to a producer besides the caller's.
unsigned int OthersOf(const Ptr& producer) {
    return producer->use_count() - 1;
}

TEST(IteratorHandle, KeepsItsProducerUntilTheLastRelease) {
    const Ptr producer = TELLAR::CreateStaticGeometryProducer("/root", Location({}), nullptr);
    OxSgIteratorStruct* const handle = OxGeometryProducerToHandle(producer);
    EXPECT_EQ(OthersOf(producer), 1u);
    Iterators().retainIterator(handle);
    Iterators().retainIterator(handle);
    Iterators().releaseIterator(handle);
    EXPECT_EQ(OthersOf(producer), 1u);
    EXPECT_EQ(OxHandleToGeometryProducer(handle), producer);
    Iterators().releaseIterator(handle);
    EXPECT_EQ(OthersOf(producer), 0u);
}

TEST(IteratorHandle, OutlivesAReleaseThatNobodyRetainedItFor) {
    const Ptr producer = TELLAR::CreateStaticGeometryProducer("/root", Location({}), nullptr);
    OxSgIteratorStruct* const handle = OxGeometryProducerToHandle(producer);
    Iterators().releaseIterator(handle); // an error of the host's
    EXPECT_EQ(OthersOf(producer), 1u);
    Iterators().retainIterator(handle);
    Iterators().retainIterator(handle);
    Iterators().releaseIterator(handle);
    EXPECT_EQ(OthersOf(producer), 0u);
}

TEST(IteratorHandle, IsANewOneForTheSameProducer) {
    const Ptr producer = TELLAR::CreateStaticGeometryProducer("/root", Location({}), nullptr);
    const Handle one = Handle::of(producer);
    const Handle other = Handle::of(producer);
    EXPECT_NE(one.get(), other.get());
    EXPECT_EQ(OxHandleToGeometryProducer(one.get()), OxHandleToGeometryProducer(other.get()));
}

TEST(IteratorHandle, OfNullIsNull) {
    EXPECT_EQ(OxGeometryProducerToHandle(nullptr), nullptr);
    EXPECT_EQ(OxHandleToGeometryProducer(nullptr), nullptr);
}

TEST(IteratorHandle, OfARootIsFreedByOneRelease) {
    const SceneFile file;
    OxSgIteratorStruct* const root = Iterators().createRootIteratorFromOpTreeFile(file.c_str());
    const Ptr producer = OxHandleToGeometryProducer(root);
    EXPECT_EQ(OthersOf(producer), 1u);
    Iterators().releaseIterator(root);
    EXPECT_EQ(OthersOf(producer), 0u);
}

TEST(IteratorHandle, OfANavigationIsFreedByRetainAndRelease) {
    const SceneFile file;
    const Handle root = file.root();
    OxSgIteratorStruct* const child = Iterators().getFirstChild(root.get(), false);
    const Ptr producer = OxHandleToGeometryProducer(child);
    EXPECT_EQ(OthersOf(producer), 1u);
    Iterators().retainIterator(child);
    Iterators().releaseIterator(child);
    EXPECT_EQ(OthersOf(producer), 0u);
}

} // namespace
