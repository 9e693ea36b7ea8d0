// How failed calls, dead services and broken contracts end the process, and what they log.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vek/gsl.h>
#include <vek/sensors/factories.h>
#include <vek/sensors/service.h>

#include <csignal>

#include "foundation/hal_call.h"
#include "foundation/hal_death_recipient.h"
#include "support/captured_log.h"
#include "support/fake_motion_hal.h"

namespace {

using ::testing::ExitedWithCode;
using ::testing::KilledBySignal;
using TestSupport::CapturedLog;
using TestSupport::FakeImu;
using Vek::Sensors::suppressTransportCrashDumps;
using Vek::Sensors::HidlWrapper::HalDeathRecipient;
using Vek::Sensors::HidlWrapper::handleTransportFailure;
namespace Hidl = Vek::Sensors::Hidl;

TEST(StreamCommand, UnknownValueIsShownInHexadecimal) {
    EXPECT_EQ(toString(Hidl::StreamCommand::DISCONNECT), "DISCONNECT");
    EXPECT_EQ(toString(static_cast<Hidl::StreamCommand>(7)), "0x7");
}

TEST(TransportFailureDeathTest, AbortsUntilCrashDumpsAreSuppressed) {
    const std::string text = "F/Moriak-HidlWrapper: HIDL error in void f\\(\\): gone";
    EXPECT_EXIT(handleTransportFailure("void f()", "gone"), KilledBySignal(SIGABRT), text);
    EXPECT_EXIT(
        {
            suppressTransportCrashDumps(false);
            handleTransportFailure("void f()", "gone");
        },
        KilledBySignal(SIGABRT), text);
}

TEST(TransportFailureDeathTest, SuppressedCrashDumpEndsByUserSignalWithOneErrorLine) {
    EXPECT_EXIT(
        {
            suppressTransportCrashDumps(true);
            handleTransportFailure("void f()", "gone");
        },
        KilledBySignal(SIGUSR2),
        "I/Moriak-HidlWrapper: Supressing HIDL transport crash dumps for current process: true\n"
        "E/Moriak-HidlWrapper: HIDL error in void f\\(\\): gone\n$");
}

// The setting and the reaction happen once for a process, so each of these runs in a child.
void exitIf(bool expected) {
    _exit(expected ? 0 : 1);
}

TEST(SuppressTransportCrashDumps, FirstCallDecides) {
    EXPECT_EXIT(
        {
            CapturedLog log;
            suppressTransportCrashDumps(true);
            suppressTransportCrashDumps(false);
            const auto lines = log.take();
            exitIf(HalDeathRecipient::suppressesCrashDumps() && lines.size() == 1 &&
                   lines[0].priority == ANDROID_LOG_INFO);
        },
        ExitedWithCode(0), "");
}

TEST(HalDeathRecipient, UnsetIgnoresTheFirstDeathAndIsSilentAboutLaterOnes) {
    EXPECT_EXIT(
        {
            const android::sp<FakeImu> first = new FakeImu;
            const android::sp<FakeImu> second = new FakeImu;
            const HalDeathRecipient watchesFirst{android::sp<Hidl::IImu>(first)};
            const HalDeathRecipient watchesSecond{android::sp<Hidl::IImu>(second)};
            first->die();
            second->die();
            _exit(0);
        },
        ExitedWithCode(0),
        "^E/Moriak-HidlWrapper: Unexpected service death detected. [^ ]*foundation_tests "
        "ignoring.\n$");
}

TEST(HalDeathRecipient, HandlersRunInOrderBeforeTheReaction) {
    EXPECT_EXIT(
        {
            const android::sp<FakeImu> service = new FakeImu;
            HalDeathRecipient recipient{android::sp<Hidl::IImu>(service)};
            recipient.registerDisconnectHandler(
                {[](const void* text) { fprintf(stderr, "%s\n", static_cast<const char*>(text)); },
                 "first"});
            recipient.registerDisconnectHandler(
                {[](const void* text) { fprintf(stderr, "%s\n", static_cast<const char*>(text)); },
                 "second"});
            service->die();
            _exit(0);
        },
        ExitedWithCode(0),
        "invoking custom coronaries.\nfirst\nsecond\nE/Moriak-HidlWrapper: Unexpected service "
        "death detected. [^ ]*foundation_tests ignoring.\n$");
}

TEST(HalDeathRecipientDeathTest, ReactionIsFixedWhenTheRecipientIsMade) {
    EXPECT_EXIT(
        {
            suppressTransportCrashDumps(true);
            const android::sp<FakeImu> service = new FakeImu;
            const HalDeathRecipient recipient{android::sp<Hidl::IImu>(service)};
            service->die();
            pause();
        },
        KilledBySignal(SIGUSR2),
        "E/Moriak-HidlWrapper: Unexpected service death detected. [^ ]*foundation_tests Exiting.");
    EXPECT_EXIT(
        {
            suppressTransportCrashDumps(false);
            const android::sp<FakeImu> service = new FakeImu;
            const HalDeathRecipient recipient{android::sp<Hidl::IImu>(service)};
            service->die();
        },
        KilledBySignal(SIGABRT),
        "F/Moriak-HidlWrapper: Unexpected service death detected. [^ ]*foundation_tests "
        "Aborting.");
    EXPECT_EXIT(
        {
            const android::sp<FakeImu> service = new FakeImu;
            const HalDeathRecipient recipient{android::sp<Hidl::IImu>(service)};
            suppressTransportCrashDumps(false);
            service->die();
            _exit(0);
        },
        ExitedWithCode(0), "ignoring.");
}

TEST(HalDeathRecipient, UnlinksFromALivingServiceOnly) {
    android::sp<FakeImu> service = new FakeImu;
    { const HalDeathRecipient recipient{android::sp<Hidl::IImu>(service)}; }
    EXPECT_EQ(service->unlinkCalls, 1);

    const auto recipient = std::make_unique<HalDeathRecipient>(android::sp<Hidl::IImu>(service));
    service = nullptr;  // and now its destructor finds nobody
}

TEST(LegacyFactoriesDeathTest, EveryOneAborts) {
    const std::string text = "F/Moriak-HidlWrapper: HidlWrapper cannot instantate legacy sensor";
    EXPECT_DEATH(Vek::Sensors::createLegacyMotionSensorProvider(), text);
    EXPECT_DEATH(Vek::Sensors::createLegacyImuSensor(), text);
    EXPECT_DEATH(Vek::Sensors::createLegacyMagSensor(), text);
    EXPECT_DEATH(Vek::Sensors::createLegacyIadSensor(), text);
}

// The number after the header is the system's; it comes out right only while the installed GSL has
// its checks where the contract handler expects them.
std::string contractText(const std::string& text) {
    return "^Moriak-HidlWrapper: " + text + "\nF/Moriak-HidlWrapper: " + text + "\n";
}

TEST(ContractDeathTest, NotNullReportsTheSystemsLines) {
    using Imu = android::sp<Hidl::IImu>;
    using Base = android::sp<android::hidl::base::V1_0::IBase>;
    const std::string header = "external/Microsoft-GSL/include/gsl/pointers: ";
    EXPECT_DEATH(gsl::not_null<Base>{Imu{}},
                 contractText("GSL Precondition failure at " + header + "77 `ptr_ != nullptr`"));
    const Imu null;
    EXPECT_DEATH(gsl::not_null<Imu>{null},
                 contractText("GSL Precondition failure at " + header + "83 `ptr_ != nullptr`"));
    // No constructor leaves a null inside: only an overwritten one is found by get().
    const int* const nothing = nullptr;
    EXPECT_DEATH(reinterpret_cast<const gsl::not_null<const int*>&>(nothing).get(),
                 contractText("GSL Postcondition failure at " + header + "96 `ptr_ != nullptr`"));
}

TEST(ContractDeathTest, SpanIteratorsReportTheSystemsLine) {
    const std::string text =
        "GSL Precondition failure at external/Microsoft-GSL/include/gsl/span: 244 "
        "`begin_ == rhs.begin_ && end_ == rhs.end_`";
    const int values[4]{};
    const gsl::span<const int> a{values, 2};
    const gsl::span<const int> b{values + 2, 2};
    EXPECT_DEATH((void)(a.begin() == b.begin()), contractText(text));
    EXPECT_DEATH((void)(a.begin() - b.begin()), contractText(text));
    EXPECT_DEATH((void)(a.begin() < b.begin()), contractText(text));
}

}  // namespace
