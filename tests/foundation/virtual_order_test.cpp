// The order of virtual functions in the client API, which programs built against it depend on.
#include <gtest/gtest.h>
#include <vek/sensors/factories.h>

#include <cstring>
#include <type_traits>

namespace {

using namespace Vek::Sensors;

/// Where a pointer to a virtual function says that it stands in the table, as the C++ ABI of the
/// Arm and x86 platforms has it: an offset, of which x86 sets the lowest bit.
template <typename Function>
size_t slotOf(Function function) {
    size_t words[2];
    static_assert(sizeof(words) == sizeof(function));
    std::memcpy(words, &function, sizeof(words));
    return (words[0] & ~size_t{1}) / sizeof(void*);
}

/// Takes two slots: the complete and the deleting destructor. No pointer can be had of it, so its
/// place shows in those of the others.
struct Destructor {};

template <typename Interface>
struct Longer : Interface {
    virtual void firstAfter();
};

void expectNext(size_t& next, Destructor) {
    next += 2;
}

template <typename Function>
void expectNext(size_t& next, Function function) {
    EXPECT_EQ(slotOf(function), next);
    ++next;
}

/// Expects the interface's table to hold these entries and no more.
template <typename Interface, typename... Entries>
void expectTable(const char* name, Entries... entries) {
    SCOPED_TRACE(name);
    static_assert(std::has_virtual_destructor_v<Interface>);
    size_t next = 0;
    (expectNext(next, entries), ...);
    expectNext(next, &Longer<Interface>::firstAfter);
}

#define EXPECT_TABLE(Interface, ...)             \
    do {                                         \
        using I = Interface;                     \
        expectTable<I>(#Interface, __VA_ARGS__); \
    } while (false)

TEST(VirtualOrder, IsTheOneThatProgramsAreBuiltAgainst) {
    const Destructor destructor;
    EXPECT_TABLE(IDataStream<ImuData>, destructor, &I::addTo, &I::setQueueSize, &I::getQueueSize,
                 &I::setCallbackv);
    EXPECT_TABLE(ICompositeStream, destructor, &I::wait, &I::waitFor, &I::waitUntil, &I::wake);
    EXPECT_TABLE(IStreamCompositor, destructor, &I::createCompositeStream);
    EXPECT_TABLE(IMotionSensorProvider, destructor, &I::getSensorInfo, &I::getImu, &I::getMag);
    EXPECT_TABLE(IImuSensor, destructor, &I::props, &I::stream, &I::start, &I::stop,
                 &I::configureStream);
    EXPECT_TABLE(IMagSensor, destructor, &I::props, &I::stream, &I::start, &I::stop,
                 &I::configureStream);
    EXPECT_TABLE(IIadSensor, destructor, &I::range, &I::stream, &I::start, &I::stop);
    EXPECT_TABLE(IFlickerSensorProvider, destructor, &I::flickerStart, &I::flickerStop,
                 &I::flickerStream, &I::adcFlickerStart, &I::adcFlickerStop, &I::adcFlickerStream,
                 &I::ambientLightStart, &I::ambientLightStop, &I::ambientLightStream,
                 &I::properties);
    EXPECT_TABLE(IFaceEyeTrackingLed, &I::setConfigs, &I::enable, &I::disable, &I::getNumChannels,
                 &I::startOverridingLedSettings, &I::stopOverridingLedSettings, destructor);
    EXPECT_TABLE(IExternalTimingProvider, &I::streamExternalTimestampData, destructor,
                 &I::startExternalTimestampDataStream, &I::stopExternalTimestampDataStream);
    EXPECT_TABLE(ITambStream, destructor, &I::registerKivraRpcClient, &I::unregisterKivraRpcClient,
                 &I::sendKivraRpcMsg, &I::getTimeTranslation);
}

}  // namespace
