// KivraRpc: small messages to and from controllers, and translation between the system's clocks.
#pragma once

#include <vek/sensors/controller_addr.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Vek::Sensors {

/// A clock of the system.
enum class TimeDomain : uint32_t {
    /// CLOCK_MONOTONIC of the headset.
    MONOTONIC = 0,
    /// CLOCK_BOOTTIME of the headset.
    BOOTTIME = 1,
    /// The clock that the radio shares with the controllers.
    CONTROLLER = 2,
    /// The clock behind IExternalTimingProvider.
    EXTERNAL = 3,
};

/// Kind of a message from a controller.
enum class KivraRpcMessageKind : uint8_t {
    RESPONSE = 0,
    /// The controller could not do what the request asked for; the payload may give the reason.
    ERROR = 1,
    /// Sent by the controller of its own accord.
    NOTIFICATION = 2,
};

/// Header of a message (16 bytes).
struct KivraRpcHeader {
    /// As in ITambStream::sendKivraRpcMsg.
    uint32_t procedure;
    /// Counts the controller's messages; wraps.
    uint32_t sequence;
    /// When the controller sent it: TimeDomain::CONTROLLER, in ns.
    int64_t sentTimestamp;
};

/// A message from a controller.
struct KivraRpcMessage {
    ControllerAddr address;
    KivraRpcHeader header;
    /// When the service received the message: CLOCK_MONOTONIC, in ns.
    int64_t arrivalTimestamp;
    /// As the service sent it; it may have no name here.
    KivraRpcMessageKind kind;
    std::vector<uint8_t> payload;
};

/// A client's function that receives its messages. The message is valid until the function returns.
using KivraRpcMsgCallback = std::function<void(const KivraRpcMessage&)>;

/// Limit of a payload to send, in bytes.
inline constexpr size_t kKivraRpcMaxPayloadSize = 8192;

/// Sends and receives the messages of one client, "CMS" or "tracking".
///
/// Messages arrive on HIDL threads of the process, one at a time and in the order in which the
/// service received them. The function must be safe against the client's own threads, and
/// - return soon: later messages wait for it, at the service too;
/// - not throw: an exception ends the process;
/// - not register or unregister; it may send.
///
/// A message in flight may still arrive after unregisterKivraRpcClient has returned, concurrently
/// with the first messages of a later registration. What the function captures must live until the
/// process ends or the service has died.
///
/// A call that cannot be delivered ends the process. Destroying the stream does not unregister the
/// client at the service: unregister first.
///
/// Threading: may be used from any thread. Sends run concurrently. Registering and unregistering
/// wait until no send is running, and sends wait for them: threads that send without a pause can
/// keep a registration waiting for ever.
class ITambStream {
  public:
    virtual ~ITambStream() = default;

    /// Registers the client and its function. Ends the process if one is registered already, if the
    /// id is not one of the two, or if the service refuses, as it does while another process holds
    /// the id.
    /// @param callback if empty, messages are dropped.
    virtual void registerKivraRpcClient(std::string clientId, KivraRpcMsgCallback callback) = 0;

    /// Ends this object's registration, under whichever id it was made, and unregisters the client
    /// `clientId` at the service. A refusal by the service is logged. An unknown id is logged, too,
    /// and then treated as "CMS".
    virtual void unregisterKivraRpcClient(std::string clientId) = 0;

    /// Sends a request to a controller; the registered function receives the answer.
    /// @param procedure what the controller is asked to do.
    /// @param payload kKivraRpcMaxPayloadSize bytes at most: a longer one ends the process. Not
    /// changed.
    /// @return false if the service refused, or (logged) if no client is registered.
    virtual bool sendKivraRpcMsg(const ControllerAddr& address, uint32_t procedure,
                                 std::vector<uint8_t>& payload) = 0;

    /// Asks the service to translate a time, past or future, from one clock to another; needs no
    /// registered client.
    /// @param time on the clock `from`, in ns.
    /// @return the same moment on the clock `to`, in ns; 0 if the service cannot translate it (an
    /// unknown clock, or a result outside of 64 bits).
    virtual int64_t getTimeTranslation(int64_t time, TimeDomain from, TimeDomain to) = 0;
};

}  // namespace Vek::Sensors
