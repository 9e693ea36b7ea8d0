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

TEST(ParcelTest, PointersAreStoredInsideTheirParentsOnly) {
    constexpr size_t kNoBuffer = 9;
    const struct {
        const char* name;
        size_t parentSize;
        size_t parent;
        size_t offset;
        android::status_t status;
    } kPlaces[] = {
        {"at its start", 16, 0, 0, OK},
        {"at its end", 16, 0, 8, OK},
        {"over its end", 16, 0, 9, BAD_VALUE},
        {"behind its end", 16, 0, 16, BAD_VALUE},
        {"far behind its end", 16, 0, UINT32_MAX, BAD_VALUE},
        {"in one that is as large", 8, 0, 0, OK},
        {"in one that is too small", 7, 0, 0, BAD_VALUE},
        {"in one that there is not", 16, kNoBuffer, 0, BAD_VALUE},
    };
    const uint64_t bytes[2] = {};
    const native_handle_t empty{sizeof(native_handle_t), 0, 0, {}};
    for (const auto& place : kPlaces) {
        SCOPED_TRACE(place.name);
        for (const bool isHandle : {false, true}) {
            // The first that there is not.
            const size_t parent = place.parent == kNoBuffer ? (isHandle ? 1 : 2) : place.parent;
            size_t buffer = 0;
            Parcel parcel;
            parcel.writeBuffer(bytes, place.parentSize, &buffer);
            if (isHandle) {
                parcel.writeEmbeddedNativeHandle(&empty, parent, place.offset);
            } else {
                parcel.writeEmbeddedBuffer(bytes, 8, &buffer, parent, place.offset);
            }
            const Parcel received(parcel.items(), {}, {}, nullptr);
            const void* read = nullptr;
            const native_handle_t* handle = nullptr;
            ASSERT_EQ(received.readBuffer(place.parentSize, &buffer, &read), OK);
            EXPECT_EQ(
                isHandle
                    ? received.readNullableEmbeddedNativeHandle(parent, place.offset, &handle)
                    : received.readNullableEmbeddedBuffer(8, &buffer, parent, place.offset, &read),
                place.status);
        }
    }
}

}  // namespace
}  // namespace moriak_test
