// Settings that live as long as this object: what a replay, a test or a run without a desktop has
// in place of the user's own. Main thread only.
#pragma once

#include "app/model/KeyValueStore.h"

#include <map>
#include <string>
#include <variant>

namespace velmoran {

class MemorySettings final : public KeyValueStore {
public:
    std::optional<bool> boolean(const std::string& key) const override { return read<bool>(key); }
    std::optional<std::int64_t> integer(const std::string& key) const override {
        return read<std::int64_t>(key);
    }
    std::optional<std::vector<double>> numbers(const std::string& key) const override {
        return read<std::vector<double>>(key);
    }
    std::optional<std::string> bytes(const std::string& key) const override {
        return read<std::string>(key);
    }
    std::optional<std::vector<std::string>> texts(const std::string& key) const override {
        return read<std::vector<std::string>>(key);
    }

    void setBoolean(const std::string& key, bool value) override { written_[key] = value; }
    void setInteger(const std::string& key, std::int64_t value) override { written_[key] = value; }
    void setNumbers(const std::string& key, const std::vector<double>& value) override {
        written_[key] = value;
    }
    void setBytes(const std::string& key, const std::string& value) override {
        written_[key] = value;
    }
    void setTexts(const std::string& key, const std::vector<std::string>& value) override {
        written_[key] = value;
    }
    void remove(const std::string& key) override { written_.erase(key); }
    /// Memory is all that these are for.
    bool hasUnwritten() const override { return false; }
    void reload() override {} // nobody else can write

    /// True if nothing was ever written.
    bool isEmpty() const { return written_.empty(); }

private:
    using Value = std::variant<bool, std::int64_t, std::vector<double>, std::string,
                               std::vector<std::string>>;

    template <class T>
    std::optional<T> read(const std::string& key) const {
        const auto found = written_.find(key);
        const auto* value = found == written_.end() ? nullptr : std::get_if<T>(&found->second);
        return value ? std::optional(*value) : std::nullopt;
    }

    std::map<std::string, Value> written_;
};

} // namespace velmoran
