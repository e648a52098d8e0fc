#include "app/shell/AppDelegate.h"

#include "app/shell/QtOnWayland.h"
#include "app/shell/layers/LayeredOverlays.h"
#include "app/shell/notifications/DesktopNotices.h"

#include <QDesktopServices>
#include <QUrl>
#include <cstdio>
#include <utility>

namespace velmoran {

namespace {

ModelSurroundings atTheScreen(ModelSurroundings surroundings, BrowserDialog& dialog,
                              Windows& windows) {
    surroundings.askAboutBrowsers = [&dialog](const BrowserQuestion& question,
                                              const BrowserDialog::Answer& answer) {
        return dialog.ask(question, answer);
    };
    surroundings.windows = &windows;
    return surroundings;
}

bool canBeAskedFor(std::string_view window) {
    return window == WindowID::history || window == WindowID::settings;
}

void openInBrowser(const std::string& address) {
    const QUrl url(QString::fromStdString(address), QUrl::StrictMode);
    if (url.scheme() == QLatin1String("https") || url.scheme() == QLatin1String("http")) {
        withoutQtsWishes([&url] { QDesktopServices::openUrl(url); });
    }
}

} // namespace

AppDelegate::AppDelegate(ModelSurroundings surroundings, AppPicture picture, Outside outside,
                         DesktopAbilities desktop)
    : around_(atTheScreen(std::move(surroundings), browserDialog_, screens_)),
      picture_(std::move(picture)),
      outside_(std::move(outside)),
      model_(around_),
      desktop_(std::move(desktop)),
      stopShortcut_(desktop_.handsOutKeys) {
    screens_.begin({.model = model_,
                    .scheduler = around_.scheduler,
                    .picture = picture_,
                    .actions = {.quit = outside_.quit,
                                .relaunch = outside_.relaunch,
                                .openWebPage = openInBrowser}},
                   outside_.loginItem ? *outside_.loginItem : forgotten_);
}

void AppDelegate::didFinishLaunching(const Launch& launch) {
    makeStatusItem();
    watchShortcut();
    model_.start();
    statusItem_->awaitTray();
    showFirstWindow(launch);
}

Overlays* AppDelegate::findOverlays() {
    switch (desktop_.notices) {
    case NoticeForm::placed:
        return &placedOverlays();
    case NoticeForm::layered:
        layers_ = layeredOverlays();
        return layers_.get();
    case NoticeForm::byDesktop:
        break;
    }
    return nullptr;
}

void AppDelegate::makeStatusItem() {
    auto* overlays = findOverlays();
    const auto stop = [this] {
        model_.stopEverything();
    };
    const auto opening = [this](std::string_view window) {
        return [this, window] {
            screens_.show(window);
        };
    };
    statusItem_ = std::make_unique<StatusItemController>(
        model_, picture_,
        StatusItemController::Actions{.stopEverything = stop,
                                      .showMain = opening(WindowID::main),
                                      .showHistory = opening(WindowID::history),
                                      .showSettings = opening(WindowID::settings),
                                      .quit = outside_.quit,
                                      .makePanel =
                                          [this](const auto& leave) {
                                              return screens_.makePanel(leave);
                                          }},
        overlays, desktop_.names);
    if (overlays) {
        floatingStop_ =
            std::make_unique<FloatingStopButton>(model_, around_.scheduler, stop, *overlays);
        floatingStop_->onLost = [this] {
            model_.floatingStopUnavailable.set(true);
        };
        statusItem_->noticePanel().obstacle = [this] {
            return floatingStop_->frame();
        };
        // Later, since whoever tells of the loss is what goes.
        statusItem_->noticePanel().onLost = [this] {
            around_.scheduler.post([this] {
                std::fputs("velmoran: cards can't stand on this desktop any more\n", stderr);
                statusItem_->dropCards();
                tellByTheDesktop();
            });
        };
    } else {
        tellByTheDesktop();
    }
    screenChanges_ = std::make_unique<ScreenChanges>([this] {
        if (floatingStop_) {
            floatingStop_->layOut();
        }
        // Second, since the cards keep clear of it.
        statusItem_->layOut();
        screens_.windows().layOut();
    });
    if (layers_) {
        layers_->onAreasChanged = [this] {
            screenChanges_->note();
        };
    }
}

/// Nothing of ours stays in sight there.
void AppDelegate::tellByTheDesktop() {
    model_.floatingStopUnavailable.set(true);
    std::fputs("velmoran: notices are told by the desktop's notifications here\n", stderr);
    notifications_ = std::make_unique<DesktopNotices>(
        model_.notices,
        DesktopNotices::Options{.opened = [this] { screens_.show(WindowID::main); },
                                .complain =
                                    [](const std::string& why) {
                                        std::fprintf(
                                            stderr,
                                            "velmoran: notices can't be shown: %s; velmoranctl "
                                            "watch tells them in a terminal\n",
                                            why.c_str());
                                    }});
}

void AppDelegate::watchShortcut() {
    const auto apply = [this] {
        const bool wanted = *model_.settings.stopShortcutOn;
        const bool refused = outside_.refusesShortcut && outside_.refusesShortcut();
        const bool done =
            stopShortcut_.set(wanted && !refused, [this] { model_.stopEverything(); });
        model_.stopShortcutUnavailable.set((wanted && refused) || !done);
    };
    stopShortcut_.onLost = [this] {
        model_.stopShortcutUnavailable.set(true);
    };
    shortcutChoice_ = model_.settings.stopShortcutOn.subscribe([apply](bool) { apply(); });
    apply();
}

void AppDelegate::showFirstWindow(const Launch& launch) {
    if (!launch.isUnasked && !*model_.settings.onboardingDone) {
        screens_.show(WindowID::onboarding);
    } else if (!launch.isUnasked && !launch.isLogin && !launch.show) {
        screens_.show(WindowID::main);
    }
    if (launch.show) {
        reopen({.window = *launch.show, .token = {}});
    }
    auto wanted = launch.showWindow;
    if (!wanted && !launch.isUnasked) {
        if (const auto written = around_.settings.texts("showWindow");
            written && written->size() == 1) {
            wanted = written->front();
        }
    }
    if (wanted && canBeAskedFor(*wanted)) {
        screens_.show(*wanted);
    }
}

bool AppDelegate::isLookedAt() const {
    const auto* panel = statusItem_ ? statusItem_->panel() : nullptr;
    return screens_.windows().isAnyOpen() || (panel && panel->isVisible());
}

void AppDelegate::takeToken(const Wish& wish) {
    if (!wish.token.empty()) {
        qputenv("XDG_ACTIVATION_TOKEN", QByteArray::fromStdString(wish.token));
    }
}

void AppDelegate::reopen(const Wish& wish) {
    takeToken(wish);
    if (statusItem_ && wish.window != nothing) {
        screens_.show(windowFor(wish.window));
    }
}

std::string AppDelegate::windowFor(std::string_view window) {
    return std::string(canBeAskedFor(window) ? window : WindowID::main);
}

} // namespace velmoran
