// The platform's per-user settings as the settings store needs them: typed values under keys. Main
// thread only.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velmoran {

/// A getter answers with the written value if it is of that type, else with nothing: a value of
/// another type, as a hand-edited file may hold, acts as missing.
class KeyValueStore {
public:
    virtual ~KeyValueStore() = default;

    virtual std::optional<bool> boolean(const std::string& key) const = 0;
    virtual std::optional<std::int64_t> integer(const std::string& key) const = 0;
    /// An array of which every element is or converts to a number.
    virtual std::optional<std::vector<double>> numbers(const std::string& key) const = 0;
    /// A byte string, kept byte for byte.
    virtual std::optional<std::string> bytes(const std::string& key) const = 0;
    /// An array of texts in this application's own settings, never the system's.
    virtual std::optional<std::vector<std::string>> texts(const std::string& key) const = 0;

    /// Written at once; where that fails the value in memory stands, and `hasUnwritten` says so.
    virtual void setBoolean(const std::string& key, bool value) = 0;
    virtual void setInteger(const std::string& key, std::int64_t value) = 0;
    virtual void setNumbers(const std::string& key, const std::vector<double>& value) = 0;
    virtual void setBytes(const std::string& key, const std::string& value) = 0;
    virtual void setTexts(const std::string& key, const std::vector<std::string>& value) = 0;
    virtual void remove(const std::string& key) = 0;

    /// Some value stands in memory alone and would be lost with this object. It is tried again with
    /// the next one.
    virtual bool hasUnwritten() const = 0;

    /// Takes in what other programs have written since.
    virtual void reload() = 0;
};

} // namespace velmoran
