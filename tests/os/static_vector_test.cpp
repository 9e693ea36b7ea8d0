// The fixed-capacity vector: storage kinds, element lifetimes, checks.
#include "os/static_vector.h"

#include <gtest/gtest.h>

#include <bitset>
#include <cstdint>
#include <functional>
#include <memory>

namespace {

using Vek::OS::StaticVector;

TEST(StaticVector, DestroysEachElementOnceWithTheVector) {
    const auto counted = std::make_shared<int>(0);
    {
        StaticVector<std::shared_ptr<int>, 3> vector;
        vector.emplace_back(counted);
        vector.push_back(counted);
        EXPECT_EQ(counted.use_count(), 3);
        EXPECT_FALSE(vector.full());
        vector.push_back(counted);
        EXPECT_TRUE(vector.full());
    }
    EXPECT_EQ(counted.use_count(), 1);
}

TEST(StaticVector, TrivialElementsAreLeftUnconstructedInLineWithTheCounter) {
    struct Record {
        uint64_t words[4];
    };
    EXPECT_EQ(sizeof(StaticVector<Record, 8>), 8 * sizeof(Record) + sizeof(size_t));
    StaticVector<Record, 8> vector;
    vector.push_back({{1, 2, 3, 4}});
    EXPECT_EQ(vector.data()[0].words[3], 4U);
}

TEST(StaticVectorDeathTest, FailedChecksEndTheProcessWithTheirExpression) {
    StaticVector<int, 1> vector;
    vector.emplace_back(7);
    EXPECT_DEATH(vector.emplace_back(8), "!full\\(\\) && \"cannot emplace_back on full storage\"");
    vector.at(1);  // one past the end passes
    EXPECT_DEATH(vector.at(2), "pos <= size\\(\\) && \"invalid storage index\"");

    Vek::OS::storage::TrivialStorage<int, 2> trivial;
    EXPECT_DEATH(trivial.setSize(3), "size <= capacity\\(\\) && \"invalid size update\"");
    Vek::OS::storage::NonTrivialStorage<std::bitset<7>, 2> nonTrivial;
    EXPECT_DEATH(nonTrivial.setSize(3), "size <= capacity\\(\\) && \"invalid size update\"");
}

}  // namespace
