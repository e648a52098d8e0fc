#include "app/contents/TrustWording.h"

#include "core/text/Localizer.h"
#include "core/text/PlainLine.h"
#include "core/warnings/DeviceWording.h"

namespace velmoran::TrustWording {

namespace {

std::string title(TrustChange change, const std::string& app, const std::string& devices) {
    switch (change) {
    case TrustChange::trust:
        return words().text("Trust %1$@ for %2$@?", {app, devices});
    case TrustChange::distrust:
        return words().text("Stop trusting %1$@ for %2$@?", {app, devices});
    case TrustChange::alwaysWarn:
        return words().text("Always warn when %1$@ uses %2$@?", {app, devices});
    case TrustChange::stopAlwaysWarning:
        break;
    }
    return words().text("Stop always warning about %@?", {app});
}

std::string confirm(TrustChange change) {
    switch (change) {
    case TrustChange::trust:
        return words().text("Trust");
    case TrustChange::distrust:
        return words().text("Distrust");
    case TrustChange::alwaysWarn:
        return words().text("Always warn");
    case TrustChange::stopAlwaysWarning:
        break;
    }
    return words().text("Stop always warning");
}

std::string message(TrustChange change, const TrustChoice& choice, const std::string& devices) {
    const auto app = plainLine(choice.app.name);
    switch (change) {
    case TrustChange::trust:
        return choice.allWarning
                   ? words().text("%1$@ will be trusted. Because it also always warns, Velmoran "
                                  "will still tell you every time it uses %2$@, with a calm notice "
                                  "instead of a strong warning.",
                                  {app, devices})
                   : words().text("Velmoran will stay quiet the next time %1$@ uses %2$@. Only the "
                                  "menu bar icon changes.",
                                  {app, devices});
    case TrustChange::distrust:
        return choice.allWarning
                   ? words().text("%1$@ keeps working. Because it always warns, Velmoran will show "
                                  "a strong warning every time it uses %2$@.",
                                  {app, devices})
                   : words().text("%1$@ keeps working. Velmoran will show a notice again the next "
                                  "time it uses %2$@.",
                                  {app, devices});
    case TrustChange::alwaysWarn:
        return choice.allTrusted
                   ? words().text("%1$@ stays trusted. Velmoran will show a calm notice every time "
                                  "it uses %2$@, so you always know.",
                                  {app, devices})
                   : words().text("Every time %1$@ uses %2$@, Velmoran will show a strong warning "
                                  "that stays until you answer it.",
                                  {app, devices});
    case TrustChange::stopAlwaysWarning:
        break;
    }
    return choice.allTrusted
               ? words().text("%1$@ stays trusted. Velmoran will stay quiet again when it uses "
                              "%2$@.",
                              {app, devices})
               : words().text("Velmoran will go back to an ordinary notice the next time %1$@ uses "
                              "%2$@.",
                              {app, devices});
}

} // namespace

Switch trustSwitch(const TrustChoice& choice) {
    const auto devices = DeviceWording::the(choice.devices);
    if (choice.allTrusted) {
        return {
            .help = words().text("Trusted for %1$@. Click to stop trusting %1$@.", {devices}),
            .label = words().text("Trusted. Click to stop trusting."),
        };
    }
    return {
        .help = words().text("Not trusted for %1$@. Click to trust %1$@.", {devices}),
        .label = words().text("Not trusted. Click to trust."),
    };
}

Switch warnSwitch(const TrustChoice& choice) {
    const auto devices = DeviceWording::the(choice.devices);
    if (choice.allWarning) {
        return {
            .help = words().text("Always tells you when %1$@ uses %2$@. Click to turn this off.",
                                 {plainLine(choice.app.name), devices}),
            .label = words().text("Always warns. Click to turn off."),
        };
    }
    return {
        .help = words().text("Click to be told every time %1$@ uses %2$@, whether it is trusted or "
                             "not.",
                             {plainLine(choice.app.name), devices}),
        .label = words().text("Does not always warn. Click to turn on."),
    };
}

Confirmation confirmation(TrustChange change, const TrustChoice& choice) {
    const auto devices = DeviceWording::the(choice.devices);
    return {
        .title = title(change, plainLine(choice.app.name), devices),
        .message = message(change, choice, devices),
        .confirm = confirm(change),
    };
}

} // namespace velmoran::TrustWording
