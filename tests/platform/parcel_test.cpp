// A parcel read back: it gives exactly what was written.
#include <gtest/gtest.h>
#include <hwbinder/Binder.h>
#include <hwbinder/Parcel.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <tuple>
#include <utility>
#include <vector>

namespace moriak_test {
namespace {

using android::BAD_VALUE;
using android::OK;
using android::sp;
using android::base::unique_fd;
using android::hardware::BHwBinder;
using android::hardware::IBinder;
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

/** Where a buffer is, as its writer and as its reader have it. */
struct Place {
    size_t writtenParent;
    size_t writtenOffset;
    size_t readParent;
    size_t readOffset;
};

TEST(ParcelTest, ABufferIsReadOnlyFromItsPlace) {
    const auto isRead = [](const Place& place, bool isHandle) {
        const Parent parents[2] = {};
        const uint32_t child = 7;
        Parcel parcel;
        size_t index = 0;
        for (const Parent& parent : parents) parcel.writeBuffer(&parent, sizeof(parent), &index);
        if (isHandle) {
            parcel.writeEmbeddedNativeHandle(nullptr, place.writtenParent, place.writtenOffset);
        } else {
            parcel.writeEmbeddedBuffer(&child, sizeof(child), &index, place.writtenParent,
                                       place.writtenOffset);
        }
        const Parcel received(parcel.items(), {}, {}, nullptr);
        const void* buffer = nullptr;
        for (int i = 0; i < 2; ++i)
            EXPECT_EQ(received.readBuffer(sizeof(Parent), &index, &buffer), OK);
        const native_handle_t* handle = nullptr;
        return OK ==
               (isHandle ? received.readNullableEmbeddedNativeHandle(place.readParent,
                                                                     place.readOffset, &handle)
                         : received.readNullableEmbeddedBuffer(
                               sizeof(child), &index, place.readParent, place.readOffset, &buffer));
    };
    constexpr size_t kLast = sizeof(Parent) - sizeof(void*);
    for (const Place& place : {Place{0, 0, 0, 0}, Place{1, kLast, 1, kLast}}) {
        EXPECT_TRUE(isRead(place, false) && isRead(place, true));
    }
    for (const Place& place : {Place{0, 0, 1, 0}, Place{0, 0, 0, 8}}) {
        EXPECT_FALSE(isRead(place, false)) << "of another parent, or another part of it";
    }
}

struct Object : BHwBinder {
    android::status_t onTransact(uint32_t, const Parcel&, Parcel*, uint32_t,
                                 TransactCallback) override {
        return OK;
    }
};

TEST(ParcelTest, ObjectsAndDescriptorsComeInOrderAndNoMoreOfThemThanWereSent) {
    const sp<IBinder> objects[2] = {new Object, new Object};
    Parcel parcel;
    for (const sp<IBinder>& object : objects) parcel.writeStrongBinder(object);
    const Parcel oneAndAHalf(parcel.items(), {objects[0]}, {}, nullptr);
    const Parcel both(parcel.items(), {objects[0], objects[1]}, {}, nullptr);
    sp<IBinder> object;
    EXPECT_EQ(oneAndAHalf.readNullableStrongBinder(&object), OK);
    EXPECT_EQ(oneAndAHalf.readNullableStrongBinder(&object), BAD_VALUE);
    for (const sp<IBinder>& sent : objects) {
        EXPECT_EQ(both.readNullableStrongBinder(&object), OK);
        EXPECT_EQ(object, sent);
    }

    native_handle_t* const native = native_handle_create(1, 1);
    native->data[1] = 42;
    Parcel handles;
    for (int i = 0; i < 2; ++i) handles.writeNativeHandleNoDup(native);
    native_handle_delete(native);
    std::vector<unique_fd> descriptors;
    descriptors.emplace_back(dup(STDIN_FILENO));
    const int sent = descriptors[0].get();
    const Parcel received(handles.items(), {}, std::move(descriptors), nullptr);
    const native_handle_t* handle = nullptr;
    ASSERT_EQ(received.readNullableNativeHandleNoDup(&handle), OK);
    EXPECT_EQ(handle->data[0], sent);
    EXPECT_EQ(handle->data[1], 42);
    EXPECT_EQ(received.readNullableNativeHandleNoDup(&handle), BAD_VALUE);
}

TEST(ParcelTest, InterfaceNamesAreComparedInFull) {
    for (const char* name : {"inter", "interfaces", "interfacf"}) {
        EXPECT_FALSE(Parcel(written().items(), {}, {}, nullptr).enforceInterface(name)) << name;
    }
}

TEST(ParcelTest, AHandleWithImpossibleCountsIsNotWritten) {
    // As many descriptors as a queue has parts, and no more.
    native_handle_t* const handle = native_handle_create(5, 0);
    for (const auto& [descriptors, integers, status] :
         std::vector<std::tuple<int, int, android::status_t>>{
             {-1, 0, BAD_VALUE}, {0, -1, BAD_VALUE}, {5, 0, BAD_VALUE}, {4, 0, OK}}) {
        handle->numFds = descriptors;
        handle->numInts = integers;
        Parcel parcel;
        EXPECT_EQ(parcel.writeNativeHandleNoDup(handle), status) << descriptors;
        EXPECT_EQ(parcel.writeError(), status) << descriptors;
    }
    native_handle_delete(handle);
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
            // The name of the first buffer that does not exist.
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
