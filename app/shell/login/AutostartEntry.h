// Whether the desktop starts the program at login: an entry in the user's autostart folder, or one
// for all users that it goes before (Desktop Application Autostart Specification). Any program of
// the user's can write there, so each question looks anew. Owned by `main`; main thread.
#pragma once

#include "app/model/LoginItem.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <string>

namespace velmoran {

class AutostartEntry final : public LoginItem {
public:
    /// For that program, started with `arguments`, in the folders that the environment names now.
    /// `desktop` is XDG_CURRENT_DESKTOP, since entries may be for some desktops alone.
    AutostartEntry(QString program, QString arguments, std::string desktop = {});

    bool isOn() const override;
    /// An entry is whole or not written at all.
    bool set(bool on) override;

    /// The user's own.
    const QString& path() const { return path_; }

private:
    bool isOnBy(const QByteArray& text) const;

    QString program_;
    QString arguments_;
    std::string desktop_;
    QString path_;
    QStringList others_; ///< what counts where the user has none, the first one there is
};

} // namespace velmoran
