// The user's settings on disk: on Linux the file Velmoran/Velmoran.conf under the user's
// configuration folder, on a Mac the application's own domain of the user defaults. Owned by
// `main`; main thread only.
#pragma once

#include "app/model/KeyValueStore.h"

#include <QSettings>
#include <QString>

namespace velmoran {

class QtSettingsFile final : public KeyValueStore {
public:
    /// The user's own. Neither the file nor its folder is made before the first write.
    QtSettingsFile();
    /// A file of the same form at that path.
    explicit QtSettingsFile(const QString& path);

    std::optional<bool> boolean(const std::string& key) const override;
    std::optional<std::int64_t> integer(const std::string& key) const override;
    std::optional<std::vector<double>> numbers(const std::string& key) const override;
    std::optional<std::string> bytes(const std::string& key) const override;
    std::optional<std::vector<std::string>> texts(const std::string& key) const override;

    void setBoolean(const std::string& key, bool value) override;
    void setInteger(const std::string& key, std::int64_t value) override;
    void setNumbers(const std::string& key, const std::vector<double>& value) override;
    void setBytes(const std::string& key, const std::string& value) override;
    void setTexts(const std::string& key, const std::vector<std::string>& value) override;
    void remove(const std::string& key) override;
    void reload() override;

private:
    QVariant value(const std::string& key) const;
    void write(const std::string& key, const QVariant& value);

    QSettings settings_;
};

} // namespace velmoran
