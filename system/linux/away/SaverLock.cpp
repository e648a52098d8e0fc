#include "system/linux/away/SaverLock.h"

#include "system/linux/bus/BusValues.h"

#include <utility>

namespace velmoran {

SaverLock::SaverLock(BusLine& line, Place place, Calls calls)
    : line_(line),
      place_(std::move(place)),
      calls_(std::move(calls)) {
    ownerEar_ =
        line_.hearOwner(place_.name, [this](const std::string& owner) { ownerCame(owner); });
}

void SaverLock::ownerCame(const std::string& owner) {
    saver_ = owner;
    changes_ = {};
    question_ = {};
    if (saver_.empty()) {
        calls_.left();
        return;
    }
    // By whatever path: there are two in use.
    changes_ =
        line_.hear(saver_, "", place_.interface, "ActiveChanged", [this](sd_bus_message* signal) {
            if (const auto active = readPlainTruth(signal)) {
                calls_.said(*active);
            }
        });
    askAt(0);
}

/// A program may have the name only to keep the screen awake for others.
void SaverLock::askAt(std::size_t path) {
    if (path == place_.paths.size()) {
        calls_.left();
        return;
    }
    question_ =
        line_.ask(line_.newCall(saver_, place_.paths[path], place_.interface.c_str(), "GetActive"),
                  [this, path](sd_bus_message* answer) {
                      if (const auto active = readPlainTruth(answer)) {
                          calls_.found(*active);
                      } else {
                          askAt(path + 1);
                      }
                  });
}

} // namespace velmoran
