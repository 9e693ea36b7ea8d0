// How failed calls, dead services and broken contracts end the process, and what they log.
#include <gtest/gtest.h>
#include <vek/gsl.h>
#include <vek/sensors/factories.h>
#include <vek/sensors/service.h>

#include <csignal>
#include <memory>
#include <string>
#include <vector>

#include "foundation/hal_call.h"
#include "foundation/hal_death_recipient.h"
#include "support/fake_service.h"

namespace {

using namespace ::testing;
using namespace TestSupport;
using namespace Vek::Sensors;
using namespace HidlWrapper;

// The setting and the reaction happen once for a process, so each of these runs in a child.
TEST(TransportFailureDeathTest, AbortsUnlessCrashDumpsWereSuppressedFirst) {
    const std::string text = "/Moriak-HidlWrapper: HIDL error in void f\\(\\): gone\n$";
    const auto fail = [](const std::vector<bool>& settings) {
        for (const bool setting : settings) {
            suppressTransportCrashDumps(setting);
        }
        handleTransportFailure("void f()", "gone");
    };
    EXPECT_EXIT(fail({}), KilledBySignal(SIGABRT), "^F" + text);
    EXPECT_EXIT(fail({false, true}), KilledBySignal(SIGABRT), "F" + text);
    EXPECT_EXIT(
        fail({true, false}), KilledBySignal(SIGUSR2),
        "^I/Moriak-HidlWrapper: Supressing HIDL transport crash dumps for current process: true\n"
        "E" +
            text);
}

/// A service whose death somebody watches.
struct Watched {
    sp<Fake<Hidl::IImu>> service = new Fake<Hidl::IImu>;
    HalDeathRecipient recipient{android::sp<Hidl::IImu>(service)};
};

ServiceDisconnectHandler saying(const char* text) {
    return {[](const void* line) { fprintf(stderr, "%s\n", static_cast<const char*>(line)); },
            text};
}

std::string deathText(const std::string& reaction) {
    return "/Moriak-HidlWrapper: Unexpected service death detected. [^ ]*foundation_tests " +
           reaction + "\n$";
}

TEST(HalDeathRecipient, WithoutAChoiceTheFirstDeathIsLoggedAndLaterOnesAreNot) {
    EXPECT_EXIT(
        {
            const Watched first;
            const Watched second;
            first.service->die();
            second.service->die();
            _exit(0);
        },
        ExitedWithCode(0), "^E" + deathText("ignoring."));
}

TEST(HalDeathRecipient, HandlersRunInOrderBeforeTheReaction) {
    EXPECT_EXIT(
        {
            Watched watched;
            for (const char* text : {"first", "second"}) {
                watched.recipient.registerDisconnectHandler(saying(text));
            }
            watched.service->die();
            _exit(0);
        },
        ExitedWithCode(0),
        "invoking custom coronaries.\nfirst\nsecond\nE" + deathText("ignoring."));
}

TEST(HalDeathRecipient, AHandlerMayRegisterOthersAndEndTheRecipient) {
    EXPECT_EXIT(
        {
            static auto watched = std::make_unique<Watched>();
            const sp<Fake<Hidl::IImu>> service = watched->service;
            watched->recipient.registerDisconnectHandler(
                {[](const void*) {
                     for (int i = 0; i < 100; ++i) {
                         watched->recipient.registerDisconnectHandler(saying("too late"));
                     }
                     watched.reset();
                 },
                 nullptr});
            watched->recipient.registerDisconnectHandler(saying("still"));
            service->die();
            _exit(0);
        },
        ExitedWithCode(0), "invoking custom coronaries.\nstill\nE" + deathText("ignoring."));
}

TEST(HalDeathRecipientDeathTest, ReactionIsFixedWhenTheRecipientIsMade) {
    EXPECT_EXIT(
        {
            suppressTransportCrashDumps(true);
            Watched().service->die();
            pause();
        },
        KilledBySignal(SIGUSR2), "E" + deathText("Exiting."));
    EXPECT_EXIT(
        {
            suppressTransportCrashDumps(false);
            Watched().service->die();
        },
        KilledBySignal(SIGABRT), "F" + deathText("Aborting."));
    EXPECT_EXIT(
        {
            const Watched watched;
            suppressTransportCrashDumps(false);
            watched.service->die();
            _exit(0);
        },
        ExitedWithCode(0), deathText("ignoring."));
}

TEST(HalDeathRecipient, UnlinksFromALivingServiceOnly) {
    sp<Fake<Hidl::IImu>> service = new Fake<Hidl::IImu>;
    { const HalDeathRecipient recipient{android::sp<Hidl::IImu>(service)}; }
    EXPECT_EQ(service->unlinkCalls, 1);
    Watched().service = nullptr;  // and its recipient's destructor finds nobody
}

TEST(LogDeathTest, AllLinesGoToTheSystemsBuffer) {
    EXPECT_DEATH(
        {
            __android_log_set_logger([](const __android_log_message* line) {
                fprintf(stderr, "%d%s ", line->buffer_id, line->message);
            });
            MORIAK_LOG_INFO("i");
            MORIAK_LOG_WARN("w");
            MORIAK_LOG_ERROR("e");
            MORIAK_FATAL("f");
        },
        "^16i 16w 16e 16f ");
}

TEST(LegacyFactoriesDeathTest, EveryOneAborts) {
    const std::string text = "F/Moriak-HidlWrapper: HidlWrapper cannot instantate legacy sensor";
    EXPECT_DEATH(createLegacyCameraProvider(), text);
    EXPECT_DEATH(createLegacyMotionSensorProvider(), text);
    EXPECT_DEATH(createLegacyImuSensor(), text);
    EXPECT_DEATH(createLegacyMagSensor(), text);
    EXPECT_DEATH(createLegacyIadSensor(), text);
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

TEST(ContractDeathTest, SpanIteratorsReportTheSystemsLineOfTheirEquality) {
    const std::string condition = " `begin_ == rhs.begin_ && end_ == rhs.end_`";
    const int values[4]{};
    const gsl::span<const int> a{values, 2};
    const gsl::span<const int> b{values + 2, 2};
    EXPECT_DEATH((void)(a.begin() == b.begin()),
                 contractText("GSL Precondition failure at "
                              "external/Microsoft-GSL/include/gsl/span: 244" +
                              condition));
    // Checks whose line the system's tools do not know come as they are.
    EXPECT_DEATH((void)(a.begin() < b.begin()), "failure at /.*/gsl/span: 256" + condition);
}

}  // namespace
