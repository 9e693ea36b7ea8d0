// A parcel read back: what comes out, and that nothing comes out which was not put in.
#include <gtest/gtest.h>
#include <hwbinder/Parcel.h>

namespace moriak_test {
namespace {

using android::BAD_VALUE;
using android::OK;
using android::hardware::Parcel;

struct Parent {
    uint64_t before;
    const double* child;
};

/** A token, a number, and a buffer in a buffer. */
Parcel written() {
    const double child[2] = {1.5, 2.5};
    const Parent parent{7, nullptr};
    Parcel parcel;
    size_t handle = 0;
    parcel.writeInterfaceToken("interface");
    parcel.writeBuffer(&parent, sizeof(parent), &handle);
    parcel.writeEmbeddedBuffer(child, sizeof(child), &handle, handle, offsetof(Parent, child));
    return parcel;
}

/** The parent, if all of it can be read from the items. */
const Parent* readFrom(const Parcel& parcel, size_t childSize = 2 * sizeof(double)) {
    size_t handle = 0;
    const void* parent = nullptr;
    const void* child = nullptr;
    const bool isRead = parcel.enforceInterface("interface") &&
                        parcel.readBuffer(sizeof(Parent), &handle, &parent) == OK &&
                        parcel.readNullableEmbeddedBuffer(childSize, &handle, handle,
                                                          offsetof(Parent, child), &child) == OK;
    return isRead ? static_cast<const Parent*>(parent) : nullptr;
}

TEST(ParcelTest, BuffersAreAlignedAndPatchedIntoTheirParents) {
    const Parcel received(written().items(), {}, {}, nullptr);
    const Parent* const parent = readFrom(received);
    ASSERT_NE(parent, nullptr);
    EXPECT_EQ(parent->before, 7u);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(parent->child) % alignof(double), 0u);
    EXPECT_EQ(parent->child[1], 2.5);
}

TEST(ParcelTest, EveryTruncationAndEveryOtherSizeIsNoticed) {
    const std::vector<uint8_t> whole = written().items();
    for (auto end = whole.begin(); end != whole.end(); ++end) {
        EXPECT_EQ(readFrom(Parcel({whole.begin(), end}, {}, {}, nullptr)), nullptr);
    }
    for (const size_t size : {0u, 8u, 12u, 20u, 24u}) {
        EXPECT_EQ(readFrom(Parcel(whole, {}, {}, nullptr), size), nullptr) << size;
    }
}

TEST(ParcelTest, TheFirstMisreadIsReportedOnceAndFailsAllThatFollow) {
    int reports = 0;
    const Parcel parcel({5, 0, 0, 0}, {}, {}, [&] { ++reports; });
    android::sp<android::hardware::IBinder> object;
    const native_handle_t* handle = nullptr;
    int32_t value = 0;
    EXPECT_EQ(parcel.readNullableStrongBinder(&object), BAD_VALUE);
    EXPECT_EQ(parcel.readInt32(&value), BAD_VALUE);
    EXPECT_EQ(parcel.readNullableNativeHandleNoDup(&handle), BAD_VALUE);
    EXPECT_EQ(parcel.readCString(), nullptr);
    EXPECT_EQ(reports, 1);
}

TEST(ParcelTest, AHandleWithImpossibleCountsIsNotWritten) {
    const native_handle_t handle{sizeof(native_handle_t), -1, 0, {}};
    Parcel parcel;
    EXPECT_EQ(parcel.writeNativeHandleNoDup(&handle), BAD_VALUE);
    EXPECT_EQ(parcel.writeError(), BAD_VALUE);
}

}  // namespace
}  // namespace moriak_test
