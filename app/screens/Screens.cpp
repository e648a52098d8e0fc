#include "app/screens/Screens.h"

#include "app/screens/AwayReportView.h"
#include "app/screens/EventDetailsView.h"
#include "app/screens/HistoryScreen.h"
#include "app/screens/OnboardingView.h"
#include "app/screens/PanelView.h"
#include "app/screens/ScreenText.h"
#include "app/screens/SettingsView.h"
#include "core/text/Localizer.h"

#include <utility>

namespace velmoran {

namespace {

constexpr QSize historySize(720, 460);

} // namespace

void Screens::begin(ScreenContext context, LoginItem& loginItem) {
    context.actions.showHistory = [this] {
        show(WindowID::history);
    };
    context.actions.showSettings = [this] {
        show(WindowID::settings);
    };
    context.actions.showDetails = [this](const ActivityRow& row) {
        showDetails(row);
    };
    context_.emplace(std::move(context));
    loginItem_ = &loginItem;
}

void Screens::end() {
    windows_.clear();
    context_.reset();
}

void Screens::show(std::string_view id) {
    if (!context_) {
        return;
    }
    // What has been set or begun in these two stays, as long as they are open.
    if (id == WindowID::history || id == WindowID::settings) {
        const auto* open = windows_.window(id);
        if (open && open->isVisible() && windows_.bringToFront(id)) {
            return;
        }
    }
    if (id == WindowID::main) {
        windows_.show(id, QStringLiteral("Velmoran"), false, std::nullopt,
                      std::make_unique<PanelView>(*context_));
    } else if (id == WindowID::onboarding) {
        windows_.show(id, qt(words().text("Welcome to Velmoran")), false, std::nullopt,
                      std::make_unique<OnboardingView>(*context_, *loginItem_, [this] {
                          windows_.close(WindowID::onboarding);
                      }));
    } else if (id == WindowID::history) {
        windows_.show(id, qt(words().text("History")), true, historySize,
                      std::make_unique<HistoryScreen>(*context_));
    } else if (id == WindowID::settings) {
        windows_.show(id, qt(words().text("Settings")), false, std::nullopt,
                      std::make_unique<SettingsView>(*context_, *loginItem_));
    } else {
        windows_.bringToFront(id);
    }
}

void Screens::showAwayReport(const AwayReport& report) {
    if (!context_) {
        return;
    }
    const auto done = [this] {
        windows_.close(WindowID::awayReport);
    };
    windows_.show(WindowID::awayReport, qt(words().text("Away watch")), false, std::nullopt,
                  std::make_unique<AwayReportView>(
                      report,
                      [this, done] {
                          done();
                          show(WindowID::history);
                      },
                      done));
}

void Screens::showDetails(const ActivityRow& row) {
    if (!context_) {
        return;
    }
    windows_.show(WindowID::details, qt(row.app().name), false, std::nullopt,
                  std::make_unique<EventDetailsView>(*context_, row.id()));
}

std::unique_ptr<QWidget> Screens::makePanel(const std::function<void()>& leave) {
    if (!context_) {
        return nullptr;
    }
    auto context = *context_;
    const auto leaving = [&leave](auto& action) {
        action = [leave, then = action](const auto&... given) {
            leave();
            then(given...);
        };
    };
    leaving(context.actions.showHistory);
    leaving(context.actions.showSettings);
    leaving(context.actions.showDetails);
    leaving(context.actions.quit);
    return std::make_unique<PanelView>(std::move(context));
}

} // namespace velmoran
