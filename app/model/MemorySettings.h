// Settings that live as long as this object: what a replay, a test or a run without a desktop has
// in place of the user's own. Main thread only.
#pragma once

#include "app/model/KeyValueStore.h"
#include "core/base/Json.h"

#include <map>
#include <string>
#include <variant>

namespace velmoran {

class MemorySettings final : public KeyValueStore {
public:
    std::optional<bool> boolean(const std::string& key) const override;
    std::optional<std::int64_t> integer(const std::string& key) const override;
    std::optional<std::vector<double>> numbers(const std::string& key) const override;
    std::optional<std::string> bytes(const std::string& key) const override;
    std::optional<std::vector<std::string>> texts(const std::string& key) const override;

    void registerBoolean(const std::string& key, bool value) override;
    void registerInteger(const std::string& key, std::int64_t value) override;

    void setBoolean(const std::string& key, bool value) override;
    void setInteger(const std::string& key, std::int64_t value) override;
    void setNumbers(const std::string& key, const std::vector<double>& value) override;
    void setBytes(const std::string& key, const std::string& value) override;
    void setTexts(const std::string& key, const std::vector<std::string>& value) override;
    void remove(const std::string& key) override;
    void reload() override {} // nobody else can write

    /// Any JSON value, also of a type that no field has, as a hand-edited file could hold it. There
    /// are no byte strings among them: see `setBytes`.
    void setAny(const std::string& key, Json value);

    /// True if nothing was ever written; registered defaults don't count.
    bool isEmpty() const { return written_.empty(); }
    bool contains(const std::string& key) const { return written_.contains(key); }

private:
    struct Bytes {
        std::string value;
    };
    using Value = std::variant<Json, Bytes>;

    const Json* find(const std::string& key) const;

    std::map<std::string, Value> written_;
    std::map<std::string, Json> registered_;
};

} // namespace velmoran
