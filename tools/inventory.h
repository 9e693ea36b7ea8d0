// The services and devices that run, collected from all areas.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "table.h"

class Inventory {
  public:
    Inventory() { tables_.emplace_back("services", Table({"service", "state"})); }

    void addService(const std::string& hal, bool isRunning) {
        tables_.front().second.addRow({hal, isRunning ? "running" : "not running"});
        isAnyRunning_ = isAnyRunning_ || isRunning;
    }

    /// Adds a table. Tables are shown below the services, in the order in which they were added.
    /// @param name key in JSON output.
    void addTable(std::string name, Table table) {
        tables_.emplace_back(std::move(name), std::move(table));
    }

    bool isAnyRunning() const { return isAnyRunning_; }
    const std::vector<std::pair<std::string, Table>>& tables() const { return tables_; }

  private:
    bool isAnyRunning_ = false;
    std::vector<std::pair<std::string, Table>> tables_;
};

/// Everything that the services report.
Inventory takeInventory();

// The areas.
void listMotion(Inventory& inventory);
void listCameras(Inventory& inventory);
void listControllers(Inventory& inventory);
void listEnvironment(Inventory& inventory);
