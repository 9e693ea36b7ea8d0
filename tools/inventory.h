// What a device offers, as the areas report it.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "table.h"

class Inventory {
  public:
    Inventory() : services_({{"service", Table::Align::LEFT}, {"state", Table::Align::LEFT}}) {}

    void addService(const std::string& hal, bool isRunning) {
        services_.addRow({hal, isRunning ? "running" : "not running"});
        isAnyRunning_ = isAnyRunning_ || isRunning;
    }

    /// Shown below the services, in the order of the calls.
    void addTable(Table table) { tables_.push_back(std::move(table)); }

    bool isAnyRunning() const { return isAnyRunning_; }
    const Table& services() const { return services_; }
    const std::vector<Table>& tables() const { return tables_; }

  private:
    Table services_;
    bool isAnyRunning_ = false;
    std::vector<Table> tables_;
};

// The areas.
void listMotion(Inventory& inventory);
void listCameras(Inventory& inventory);
void listControllers(Inventory& inventory);
void listEnvironment(Inventory& inventory);
