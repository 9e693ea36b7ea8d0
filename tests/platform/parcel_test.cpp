// A parcel read back: what comes out, and that nothing comes out which was not put in.
#include <gtest/gtest.h>
#include <hidl/HidlBinderSupport.h>
#include <hwbinder/Parcel.h>

namespace moriak_test {
namespace {

using android::BAD_VALUE;
using android::OK;
using android::hardware::IBinder;
using android::hardware::Parcel;

/** The parcel as its receiver has it, without what cannot be sent from here. */
Parcel received(const Parcel& sent, int* malformedReports = nullptr) {
    return Parcel(sent.items(), {}, {}, [malformedReports] {
        if (malformedReports != nullptr) ++*malformedReports;
    });
}

TEST(ParcelTest, ScalarsComeOutAsTheyWentIn) {
    Parcel sent;
    sent.writeInt8(-1);
    sent.writeUint16(65535);
    sent.writeInt32(-2);
    sent.writeUint64(uint64_t{1} << 63);
    sent.writeFloat(0.5f);
    sent.writeDouble(-0.25);
    sent.writeBool(true);
    sent.writeCString("text");
    const Parcel parcel = received(sent);

    int8_t byte = 0;
    uint16_t half = 0;
    int32_t word = 0;
    uint64_t wide = 0;
    float single = 0;
    double number = 0;
    bool flag = false;
    EXPECT_TRUE(parcel.readInt8(&byte) == OK && byte == -1);
    EXPECT_TRUE(parcel.readUint16(&half) == OK && half == 65535);
    EXPECT_TRUE(parcel.readInt32(&word) == OK && word == -2);
    EXPECT_TRUE(parcel.readUint64(&wide) == OK && wide == uint64_t{1} << 63);
    EXPECT_TRUE(parcel.readFloat(&single) == OK && single == 0.5f);
    EXPECT_TRUE(parcel.readDouble(&number) == OK && number == -0.25);
    EXPECT_TRUE(parcel.readBool(&flag) == OK && flag);
    EXPECT_STREQ(parcel.readCString(), "text");
}

TEST(ParcelTest, BuffersAreAlignedAndPatchedIntoTheirParents) {
    struct Parent {
        uint64_t before;
        const double* child;
    };
    const double child[2] = {1.5, 2.5};
    const Parent parent{7, nullptr};
    Parcel sent;
    size_t handle = 0;
    size_t childHandle = 0;
    sent.writeInt32(1);
    sent.writeBuffer(&parent, sizeof(parent), &handle);
    sent.writeEmbeddedBuffer(child, sizeof(child), &childHandle, handle, offsetof(Parent, child));
    const Parcel parcel = received(sent);

    int32_t first = 0;
    const void* root = nullptr;
    const void* embedded = nullptr;
    ASSERT_EQ(parcel.readInt32(&first), OK);
    ASSERT_EQ(parcel.readBuffer(sizeof(parent), &handle, &root), OK);
    ASSERT_EQ(parcel.readNullableEmbeddedBuffer(sizeof(child), &childHandle, handle,
                                                offsetof(Parent, child), &embedded),
              OK);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(embedded) % alignof(double), 0u);
    EXPECT_EQ(static_cast<const Parent*>(root)->before, 7u);
    EXPECT_EQ(static_cast<const Parent*>(root)->child, embedded);
    EXPECT_EQ(static_cast<const Parent*>(root)->child[1], 2.5);
}

TEST(ParcelTest, ABufferIsReadOnceAndAtItsOwnSizeOnly) {
    const uint64_t value = 1;
    size_t handle = 0;
    const void* buffer = nullptr;
    Parcel sent;
    sent.writeBuffer(&value, sizeof(value), &handle);

    const Parcel twice = received(sent);
    EXPECT_EQ(twice.readBuffer(sizeof(value), &handle, &buffer), OK);
    EXPECT_EQ(twice.readBuffer(sizeof(value), &handle, &buffer), BAD_VALUE);
    EXPECT_EQ(received(sent).readBuffer(sizeof(value) + 8, &handle, &buffer), BAD_VALUE);
    EXPECT_EQ(received(sent).readBuffer(sizeof(value) - 4, &handle, &buffer), BAD_VALUE);
}

TEST(ParcelTest, TheFirstMisreadIsReportedOnceAndFailsAllThatFollow) {
    Parcel sent;
    sent.writeInt32(5);
    int reports = 0;
    const Parcel parcel = received(sent, &reports);
    android::sp<IBinder> object;
    const native_handle_t* handle = nullptr;
    int32_t value = 0;
    EXPECT_EQ(parcel.readNullableStrongBinder(&object), BAD_VALUE);
    EXPECT_EQ(parcel.readInt32(&value), BAD_VALUE);
    EXPECT_EQ(parcel.readNullableNativeHandleNoDup(&handle), BAD_VALUE);
    EXPECT_EQ(parcel.readCString(), nullptr);
    EXPECT_EQ(reports, 1);
}

TEST(ParcelTest, EveryTruncationIsNoticed) {
    Parcel sent;
    size_t handle = 0;
    const uint64_t value = 1;
    sent.writeInterfaceToken("interface");
    sent.writeBuffer(&value, sizeof(value), &handle);
    for (size_t size = 0; size < sent.items().size(); ++size) {
        std::vector<uint8_t> items(sent.items().begin(),
                                   sent.items().begin() + static_cast<ptrdiff_t>(size));
        const Parcel parcel(std::move(items), {}, {}, nullptr);
        const void* buffer = nullptr;
        EXPECT_FALSE(parcel.enforceInterface("interface") &&
                     parcel.readBuffer(sizeof(value), &handle, &buffer) == OK)
            << size;
    }
}

TEST(ParcelTest, AHandleWithImpossibleCountsIsNotWritten) {
    native_handle_t handle{};
    handle.version = sizeof(native_handle_t);
    handle.numFds = -1;
    Parcel parcel;
    EXPECT_EQ(parcel.writeNativeHandleNoDup(&handle), BAD_VALUE);
    EXPECT_EQ(parcel.writeError(), BAD_VALUE);
}

}  // namespace
}  // namespace moriak_test
