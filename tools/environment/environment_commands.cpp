// Gathers the commands.
#include "environment/environment_commands.h"

void addEnvironmentCommands(CLI::App& app) {
    addFlickerCommand(app);
    addLedsCommand(app);
    addRpcCommand(app);
    addTimeCommand(app);
}
