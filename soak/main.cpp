// Long trials of clients and the simulated service together.
#include <CLI/CLI.hpp>
#include <string>

#include "client.h"
#include "soak.h"

int main(int argc, char** argv) {
    CLI::App app{"Long trials of clients and the simulated service together.", "moriak-soak"};
    app.set_version_flag("--version", "moriak-soak " MORIAK_VERSION);
    app.require_subcommand(1);

    Soak::DeathsSettings deaths;
    CLI::App* const deathsCommand = app.add_subcommand(
        "deaths", "Kills the service or a client in each round, at a random moment under load");
    deathsCommand->add_option("--rounds", deaths.rounds, "How many rounds")->capture_default_str();
    deathsCommand->add_option("--seed", deaths.seed, "What the rounds are drawn from")
        ->capture_default_str();
    deathsCommand->add_option("--first", deaths.firstRound, "Number of the first round")
        ->capture_default_str();

    Soak::ClientsSettings clients;
    CLI::App* const clientsCommand =
        app.add_subcommand("clients", "Has many clients stream at once: none may lose anything");
    clientsCommand->add_option("--clients", clients.clients, "How many clients")
        ->capture_default_str()
        ->check(CLI::Range(1, 120));
    clientsCommand->add_option("--minutes", clients.minutes, "How long")->capture_default_str();
    clientsCommand
        ->add_option("--batch", clients.motionBatch, "Samples of a motion sensor at a time")
        ->capture_default_str();
    clientsCommand->add_flag("--ignore-memory", clients.ignoresMemory,
                             "For builds with sanitizers, which keep what was freed");

    std::string plan;
    CLI::App* const client = app.add_subcommand("client", "What the others start")->group("");
    client->add_option("plan", plan)->required();

    CLI11_PARSE(app, argc, argv);
    Soak::blockWhatIsTold();
    if (client->parsed()) {
        Soak::runClient(Soak::planFrom(plan));
        return 0;
    }
    return clientsCommand->parsed() ? Soak::soakClients(clients) : Soak::soakDeaths(deaths);
}
