// The window of the settings: everything that the user can choose, whom they trust, and what is
// done with the history. Each control stands for one field or calls one operation of the model, and
// follows a field that somebody else changes. Main thread.
#pragma once

#include "app/contents/SettingsContent.h"
#include "app/model/LoginItem.h"
#include "app/screens/ScreenContext.h"
#include "app/web/WebAddresses.h"
#include "core/base/Observable.h"

#include <QWidget>
#include <optional>
#include <vector>

class QComboBox;
class QVBoxLayout;

namespace velmoran {

class FormRow;
class FormSection;
class Switch;
class TextLabel;

class SettingsView final : public QWidget {
public:
    /// The login item outlives the view.
    SettingsView(ScreenContext context, LoginItem& loginItem, QWidget* parent = nullptr,
                 std::optional<WebAddresses> web = WebAddresses::ofThisBuild());

    QSize sizeHint() const override;

protected:
    void showEvent(QShowEvent* event) override;

private:
    void addStart();
    void addNotices();
    void addQuickStop();
    void addWatching();
    void addHistory();
    void addUpdates();
    void addAbout();

    FormSection* addSection(const std::string& heading = {});
    Switch* addToggle(FormSection& section, const SettingsContent::Toggle& toggle);
    void changeLoginItem(bool on);
    void followLanguage();
    void showQuickStopNote(QWidget* at);
    void confirmDelete();

    ScreenContext context_;
    AppModel& model_;
    LoginItem& loginItem_;
    std::optional<WebAddresses> web_;
    Observable<bool> showsSystemProcesses_{false}; ///< in both lists of trust
    QVBoxLayout* column_ = nullptr;
    Switch* openAtLogin_ = nullptr;
    QWidget* loginItemFailed_ = nullptr;
    QComboBox* language_ = nullptr;
    QWidget* restart_ = nullptr; ///< the line that offers it
    std::vector<Subscription> watching_;
};

} // namespace velmoran
