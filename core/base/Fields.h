// Records that name their fields once, in a function beside the record: JSON in both directions and
// a hash follow from that. Pure; any thread.
#pragma once

#include "core/base/Json.h"

#include <boost/container_hash/hash.hpp>
#include <concepts>
#include <functional>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

namespace velmoran {

/// A `Record` that is read or written.
template <class T, class Record>
concept MaybeConst = std::same_as<std::remove_const_t<T>, Record>;

/// Handed over behind a flag that isn't written when it is false.
struct OnlyIfTrue {};
/// The same behind a list that isn't written when it is empty.
struct OnlyIfAny {};

struct AnyField {
    void operator()(const char*, const auto&, auto...) const {}
};

/// A record has `visitFields(record, visit)`, which calls `visit("name", field)` for each field, in
/// the order in which they are written.
template <class Record>
concept HasFields = requires(Record& record) { visitFields(record, AnyField()); };

struct FieldWriter {
    Json& json;

    void operator()(const char* name, const auto& field) const { json[name] = field; }
    template <class T>
    void operator()(const char* name, const std::optional<T>& field) const {
        writeIfPresent(json, name, field);
    }
    void operator()(const char* name, bool flag, OnlyIfTrue) const {
        if (flag) {
            json[name] = true;
        }
    }
    template <class T>
    void operator()(const char* name, const std::vector<T>& list, OnlyIfAny) const {
        if (!list.empty()) {
            json[name] = list;
        }
    }
};

/// An optional field may be missing or null, any other has to be there.
struct FieldReader {
    const Json& json;

    template <class T>
    void operator()(const char* name, T& field) const {
        field = required<T>(json, name);
    }
    template <class T>
    void operator()(const char* name, std::optional<T>& field) const {
        field = ifPresent<T>(json, name);
    }
    void operator()(const char* name, bool& flag, OnlyIfTrue) const {
        flag = ifPresent<bool>(json, name).value_or(false);
    }
    template <class T>
    void operator()(const char* name, std::vector<T>& list, OnlyIfAny) const {
        list = ifPresent<std::vector<T>>(json, name).value_or(std::vector<T>());
    }
};

template <HasFields Record>
void to_json(Json& json, const Record& record) {
    json = Json::object();
    visitFields(record, FieldWriter{json});
}

template <HasFields Record>
void from_json(const Json& json, Record& record) {
    visitFields(record, FieldReader{json});
}

/// The base of `std::hash<Record>`: takes in all fields.
template <class Record>
struct FieldHash {
    std::size_t operator()(const Record& record) const noexcept {
        std::size_t seed = 0;
        visitFields(record, [&](const char*, const auto& field, auto...) { add(seed, field); });
        return seed;
    }

private:
    template <class T>
    static void add(std::size_t& seed, const T& field) {
        boost::hash_combine(seed, std::hash<T>()(field));
    }
    template <class T>
    static void add(std::size_t& seed, const std::vector<T>& fields) {
        for (const auto& field : fields) {
            add(seed, field);
        }
    }
};

} // namespace velmoran
