// The user's settings on disk: the file Velmoran/Velmoran.conf under the user's configuration
// folder. Any program of the user's can write it, or put a pipe or a lock in its way, and nothing
// of that may hold the program up: who reads or writes here waits for nobody. Owned by `main`; main
// thread only.
#pragma once

#include "app/model/KeyValueStore.h"
#include "app/qtbase/SettingsText.h"

#include <QMap>
#include <QString>
#include <QStringList>
#include <optional>

namespace velmoran {

class QtSettingsFile final : public KeyValueStore {
public:
    /// The user's own. Neither the file nor its folder is made before the first write.
    QtSettingsFile();
    /// A file of the same form at that path.
    explicit QtSettingsFile(QString path);
    /// Tries a last time to write what couldn't be written.
    ~QtSettingsFile() override;
    QtSettingsFile(const QtSettingsFile&) = delete;
    QtSettingsFile& operator=(const QtSettingsFile&) = delete;

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
    bool hasUnwritten() const override { return !unwritten_.isEmpty(); }
    /// What can't be read, or is far too long to be settings, leaves what was read last.
    void reload() override;

private:
    /// Null stands for none.
    using Value = std::optional<QStringList>;

    Value value(const std::string& key) const;
    /// The one element of a value that is no list.
    std::optional<QString> single(const std::string& key) const;
    void write(const std::string& key, Value value);
    /// Not as long as a file is there that can't be read: its settings would be gone. What waits is
    /// tried again at each write and reload.
    void writeUnwritten();

    QString path_;
    SettingsText file_; ///< as it was read last
    QMap<QString, Value> unwritten_;
};

} // namespace velmoran
