// sensorctl rpc
#include <fmt/format.h>
#include <vek/sensors/factories.h>

#include <CLI/CLI.hpp>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "commands.h"
#include "environment/environment_names.h"
#include "failure.h"
#include "output.h"
#include "table.h"
#include "waiter.h"

using namespace Vek::Sensors;

namespace {

struct RpcOptions {
    std::string clientId = "tracking";
    uint64_t address = 0;
    uint32_t procedure = 0;
    std::string text;
    std::optional<size_t> size;
    uint32_t count = 1;
    double timeoutSeconds = 5;
    std::optional<double> durationSeconds;
};

/// The received messages of a client. Shared with the callback, because a message may arrive after
/// the client was destroyed.
struct Inbox {
    static constexpr size_t kMostMessages = 1024;

    explicit Inbox(std::shared_ptr<ICompositeStream> composite) : waiting(std::move(composite)) {}

    void put(const KivraRpcMessage& message) {
        const std::lock_guard lock(mutex);
        // Further messages are dropped, so that memory is bounded.
        if (messages.size() < kMostMessages) {
            messages.push_back(message);
        }
        waiting->wake();
    }

    bool take(std::optional<KivraRpcMessage>& message) {
        const std::lock_guard lock(mutex);
        if (messages.empty()) {
            return false;
        }
        message = std::move(messages.front());
        messages.pop_front();
        return true;
    }

    const std::shared_ptr<ICompositeStream> waiting;
    std::mutex mutex;
    std::deque<KivraRpcMessage> messages;
};

/// A KivraRpc client, registered from construction to destruction.
class RpcClient {
  public:
    RpcClient(std::string clientId, Shutdown& shutdown)
        : shutdown_(shutdown),
          waiter_(shutdown),
          clientId_(std::move(clientId)),
          stream_(requireService(createTambStream(), "ITambril")) {
        stream_->registerKivraRpcClient(
            clientId_, [inbox = inbox_](const KivraRpcMessage& message) { inbox->put(message); });
    }
    ~RpcClient() {
        if (!shutdown_.isServiceDead()) {
            stream_->unregisterKivraRpcClient(clientId_);
        }
    }
    RpcClient(const RpcClient&) = delete;
    RpcClient& operator=(const RpcClient&) = delete;

    bool send(const RpcOptions& options, std::vector<uint8_t>& payload) {
        return stream_->sendKivraRpcMsg(ControllerAddr{options.address}, options.procedure,
                                        payload);
    }

    /// @return empty if the deadline passes or the user ends the run. Throws Failure if the service
    /// dies.
    std::optional<KivraRpcMessage> receive(Waiter::Time deadline) {
        std::optional<KivraRpcMessage> message;
        waiter_.until([&] { return inbox_->take(message); }, deadline);
        shutdown_.requireService();
        return message;
    }

  private:
    const Shutdown& shutdown_;
    Waiter waiter_;
    const std::shared_ptr<Inbox> inbox_ = std::make_shared<Inbox>(waiter_.composite());
    const std::string clientId_;
    const std::unique_ptr<ITambStream> stream_;
};

std::string textOf(const std::vector<uint8_t>& payload) {
    return printable(std::string(payload.begin(), payload.end()));
}

std::string nameOf(KivraRpcMessageKind kind) {
    return Recording::nameIn(kMessageKinds, kind, "kind");
}

void print(const KivraRpcMessage& message) {
    const std::string controller = fmt::format("{:#x}", static_cast<uint64_t>(message.address));
    Output::print(
        fmt::format("controller {}  {}  procedure {}  sequence {}  {} bytes  {}", controller,
                    nameOf(message.kind), message.header.procedure, message.header.sequence,
                    message.payload.size(), textOf(message.payload)),
        {{"controller", controller},
         {"kind", nameOf(message.kind)},
         {"procedure", message.header.procedure},
         {"sequence", message.header.sequence},
         {"payload_hex", fmt::format("{:02x}", fmt::join(message.payload, ""))},
         {"text", textOf(message.payload)}});
}

/// Waits for the controller's reply and skips notifications. Empty if the user ends the run.
std::optional<KivraRpcMessage> receiveAnswer(RpcClient& client, const RpcOptions& options,
                                             const Shutdown& shutdown) {
    const Waiter::Time deadline = deadlineAfter(options.timeoutSeconds);
    while (auto message = client.receive(deadline)) {
        if (message->kind != KivraRpcMessageKind::NOTIFICATION &&
            message->address == ControllerAddr{options.address} &&
            message->header.procedure == options.procedure) {
            return message;
        }
    }
    if (shutdown.cause() == Shutdown::Cause::NONE) {
        throw Failure(ExitCode::FAILED,
                      fmt::format("controller {:#x} did not answer procedure {} within {} s",
                                  options.address, options.procedure, options.timeoutSeconds));
    }
    return std::nullopt;
}

void send(const RpcOptions& options) {
    Shutdown shutdown(kShutdownGrace);
    RpcClient client(options.clientId, shutdown);
    std::vector<uint8_t> payload(options.text.begin(), options.text.end());
    if (options.size) {
        payload.assign(*options.size, 'x');
    }
    for (uint32_t i = 0; i < options.count; ++i) {
        if (!client.send(options, payload)) {
            throw Failure(ExitCode::FAILED,
                          fmt::format("the service refused {} bytes for controller {:#x}",
                                      payload.size(), options.address));
        }
        const auto answer = receiveAnswer(client, options, shutdown);
        if (!answer) {
            return;
        }
        print(*answer);
        if (answer->kind == KivraRpcMessageKind::ERROR) {
            throw Failure(ExitCode::FAILED,
                          fmt::format("controller {:#x} answered procedure {} with an error: {}",
                                      options.address, options.procedure, textOf(answer->payload)));
        }
    }
}

void listen(const RpcOptions& options) {
    Shutdown shutdown(kShutdownGrace);
    RpcClient client(options.clientId, shutdown);
    const Waiter::Time deadline = deadlineAfter(options.durationSeconds);
    while (const auto message = client.receive(deadline)) {
        print(*message);
    }
}

void addClientOption(CLI::App& command, RpcOptions& options) {
    command
        .add_option("--client", options.clientId,
                    "Which client to be; the service ends this one if it is taken")
        ->type_name("ID")
        ->check(CLI::IsMember({"CMS", "tracking"}))
        ->capture_default_str();
}

void addSend(CLI::App& rpc, const std::shared_ptr<RpcOptions>& options) {
    CLI::App& command =
        *rpc.add_subcommand("send", "Send a request to a controller and print its answer");
    command.add_option("ADDRESS", options->address, "Address of the controller")->required();
    CLI::Option* const text =
        command.add_option("TEXT", options->text, "Payload of the request")
            ->check([](const std::string& value) {
                return value.size() <= kKivraRpcMaxPayloadSize
                           ? ""
                           : fmt::format("{} bytes are more than {}", value.size(),
                                         kKivraRpcMaxPayloadSize);
            });
    command.add_option("--size", options->size, "A payload of so many bytes in place of a text")
        ->type_name("BYTES")
        ->check(CLI::Range(size_t{0}, kKivraRpcMaxPayloadSize))
        ->excludes(text);
    command.add_option("--procedure", options->procedure, "What the controller is asked to do")
        ->type_name("NUMBER")
        ->capture_default_str();
    command.add_option("--count", options->count, "How often, each after the answer before")
        ->type_name("N")
        ->check(CLI::Range(1U, UINT32_MAX))
        ->capture_default_str();
    command.add_option("--timeout", options->timeoutSeconds, "How long to wait for an answer")
        ->type_name("SECONDS")
        ->check(secondsFrom(0.01))
        ->capture_default_str();
    addClientOption(command, *options);
    command.callback([options] { send(*options); });
}

void addListen(CLI::App& rpc, const std::shared_ptr<RpcOptions>& options) {
    CLI::App& command =
        *rpc.add_subcommand("listen", "Print the messages that controllers send unasked");
    addDurationOption(command, options->durationSeconds);
    addClientOption(command, *options);
    command.callback([options] { listen(*options); });
}

}  // namespace

void addRpcCommand(CLI::App& app) {
    const auto options = std::make_shared<RpcOptions>();
    CLI::App& rpc = *app.add_subcommand("rpc", "Exchange KivraRpc messages with controllers");
    rpc.require_subcommand(1);
    addSend(rpc, options);
    addListen(rpc, options);
}
