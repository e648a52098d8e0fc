#include "app/replay/RecordKeys.h"

#include "core/records/UsageSession.h"
#include "core/trust/TrustList.h"

namespace velmoran {

namespace {

/// Goes down into whatever has fields of its own; of the records themselves only the names count.
struct KeyCheck {
    template <class T>
    static void check(const Json&, const T&, const std::string&) {}

    template <class T>
    static void check(const Json& json, const std::optional<T>&, const std::string& what) {
        check(json, T(), what);
    }

    template <class T>
    static void check(const Json& json, const std::vector<T>&, const std::string& what) {
        for (const auto& each : json) {
            check(each, T(), what);
        }
    }

    template <HasFields Record>
    static void check(const Json& json, const Record& record, const std::string& what) {
        for (const auto& item : json.items()) {
            bool isField = false;
            visitFields(record, [&](const std::string& name, const auto& field, auto...) {
                if (item.key() == name) {
                    isField = true;
                    check(item.value(), field, what + "." + name);
                }
            });
            if (!isField) {
                throw DecodingError("unknown key \"" + item.key() + "\" in \"" + what + "\"");
            }
        }
    }
};

} // namespace

void onlySessionKeys(const Json& json, const std::string& what) {
    KeyCheck::check(json, UsageSession(), what);
}

void onlyTrustKeys(const Json& json, const std::string& what) {
    KeyCheck::check(json, TrustList(), what);
}

} // namespace velmoran
