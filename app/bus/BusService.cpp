#include "app/bus/BusService.h"

#include "app/bus/AppChoice.h"
#include "app/bus/BusNames.h"
#include "app/bus/BusProperties.h"
#include "core/text/Localizer.h"

#include <cstring>
#include <utility>

namespace velmoran {

namespace {

constexpr const char* driver = "org.freedesktop.DBus";
constexpr const char* propertiesInterface = "org.freedesktop.DBus.Properties";
constexpr const char* introspectableInterface = "org.freedesktop.DBus.Introspectable";
constexpr const char* peerInterface = "org.freedesktop.DBus.Peer";

std::string orEmpty(const char* text) {
    return text ? text : "";
}

/// The node below `path` on the way to our object; empty if there is none.
std::string childOnTheWay(const std::string& path) {
    const std::string whole = bus::path;
    const auto prefix = path == "/" ? path : path + "/";
    if (!whole.starts_with(prefix)) {
        return {};
    }
    const auto rest = whole.substr(prefix.size());
    return rest.substr(0, rest.find('/'));
}

} // namespace

BusService::BusService(AppModel& model, Scheduler& scheduler)
    : BusService(model, scheduler, Options{}) {}

BusService::BusService(AppModel& model, Scheduler& scheduler, Options options)
    : model_(model),
      scheduler_(scheduler),
      options_(std::move(options)),
      stops_(scheduler, requestsAtOnce, requestInterval),
      unmutes_(scheduler, requestsAtOnce, requestInterval),
      raises_(scheduler, requestsAtOnce, requestInterval),
      mainThread_(scheduler) {
    const auto changed = [this](const auto&) {
        tellChangesSoon();
    };
    subscriptions_.push_back(model.snapshot.subscribe(changed));
    subscriptions_.push_back(model.openSessions.subscribe(changed));
    subscriptions_.push_back(model.isStopping.subscribe(changed));
    subscriptions_.push_back(model.settings.microphoneMuted.subscribe(changed));
    subscriptions_.push_back(model.onStopEnded.subscribe(
        [this](const std::optional<StopResult>& result) { stopEnded(result); }));
    subscriptions_.push_back(
        model.onMicrophonesMuted.subscribe([this](bool muted, const MuteAnswer& answer) {
            if (!muted) {
                unmuteEnded(answer);
            }
        }));
    search();
    connect();
}

BusService::~BusService() {
    // Replies that never went out hold the connection.
    stopReply_.reset();
    unmuteReply_.reset();
}

// MARK: - The connection

void BusService::connect() {
    callers_ = std::make_unique<CallerCheck>(options_.address, scheduler_);
    link_ = BusLink::open(options_.address, {.lost = [this] { lost(); },
                                             .drained =
                                                 [this] {
                                                     tellChangesSoon();
                                                 }});
    if (!link_ || sd_bus_add_filter(link_->bus(), nullptr, &BusService::received, this) < 0 ||
        // In the queue, so that another owner keeps the name for as long as it wants it.
        sd_bus_request_name_async(
            link_->bus(), nullptr, bus::name,
            SD_BUS_NAME_QUEUE |
                (options_.givesWay ? SD_BUS_NAME_ALLOW_REPLACEMENT : SD_BUS_NAME_REPLACE_EXISTING),
            &BusService::named, this) < 0) {
        link_.reset();
        return;
    }
    told_ = statusOf(model_);
    link_->settle();
}

void BusService::lost() {
    // Not in a call of the link itself.
    mainThread_.post([this] {
        stopReply_.reset();
        unmuteReply_.reset();
        callers_.reset();
        link_.reset();
        search();
    });
}

/// One that is under way goes on: a bus that hangs up at once isn't called again and again.
void BusService::search() {
    if (search_ || options_.address.empty()) {
        return;
    }
    search_ =
        std::make_unique<BusSearch>(options_.address, scheduler_, options_.searchInterval, [this] {
            if (!link_) {
                connect();
            }
        });
}

int BusService::named(sd_bus_message* reply, void* service, sd_bus_error*) {
    auto& self = *static_cast<BusService*>(service);
    // An end of the connection, too, is an answer to the library.
    if (sd_bus_message_is_method_error(reply, nullptr) == 0) {
        self.search_.reset();
    }
    return 0;
}

// MARK: - Who calls

int BusService::received(sd_bus_message* message, void* service, sd_bus_error*) {
    auto& self = *static_cast<BusService*>(service);
    if (sd_bus_message_is_signal(message, driver, "NameAcquired") > 0 &&
        orEmpty(sd_bus_message_get_sender(message)) == driver) {
        const char* name = nullptr;
        if (sd_bus_message_read(message, "s", &name) > 0 && orEmpty(name) == bus::name) {
            // Whoever had it before may have muted, and is gone.
            self.model_.takeOverMute();
        }
        return 0;
    }
    std::uint8_t type = 0;
    if (sd_bus_message_get_type(message, &type) < 0 || type != SD_BUS_MESSAGE_METHOD_CALL ||
        orEmpty(sd_bus_message_get_interface(message)) == peerInterface) {
        return 0; // the library knows what to do with these
    }
    self.admit(BusMessage(sd_bus_message_ref(message)));
    return 1;
}

void BusService::admit(BusMessage call) {
    const auto caller = orEmpty(sd_bus_message_get_sender(call.get()));
    const auto decide = [this](sd_bus_message* decided, bool isOurUser) {
        if (isOurUser) {
            answer(decided);
        } else {
            refuse(decided, SD_BUS_ERROR_ACCESS_DENIED, "Velmoran answers its own user only.");
        }
    };
    if (const auto known = callers_->known(caller)) {
        decide(call.get(), *known);
        return;
    }
    // Nothing else is read until it is known who this is.
    link_->pause();
    callers_->ask(caller, [this, decide,
                           call = std::make_shared<BusMessage>(std::move(call))](bool isOurUser) {
        decide(call->get(), isOurUser);
        call->reset();
        link_->resume();
    });
}

// MARK: - What is asked

void BusService::answer(sd_bus_message* call) {
    const auto path = orEmpty(sd_bus_message_get_path(call));
    const auto interface = orEmpty(sd_bus_message_get_interface(call));
    const auto member = orEmpty(sd_bus_message_get_member(call));
    const auto child = childOnTheWay(path);
    if (path != bus::path && child.empty()) {
        refuse(call, SD_BUS_ERROR_UNKNOWN_OBJECT, "There is no such object.");
    } else if (member == "Introspect" &&
               (interface.empty() || interface == introspectableInterface)) {
        auto reply = replyTo(call);
        sd_bus_message_append(reply.get(), "s",
                              child.empty() ? bus::introspection
                                            : bus::introspectionOfParent(child).c_str());
        send(reply);
    } else if (path != bus::path) {
        refuse(call, SD_BUS_ERROR_UNKNOWN_METHOD, "There is no such method.");
    } else if (interface == propertiesInterface) {
        answerAboutProperties(call, member);
    } else if (interface.empty() || interface == bus::interface) {
        answerAsProgram(call, member);
    } else {
        refuse(call, SD_BUS_ERROR_UNKNOWN_INTERFACE, "There is no such interface.");
    }
}

void BusService::answerAsProgram(sd_bus_message* call, const std::string& member) {
    const bool takesText = member == "Stop";
    if (member != "StopEverything" && member != "Stop" && member != "UnmuteMicrophone" &&
        member != "Status") {
        refuse(call, SD_BUS_ERROR_UNKNOWN_METHOD, "There is no such method.");
    } else if (sd_bus_message_has_signature(call, takesText ? "s" : "") <= 0) {
        refuse(call, SD_BUS_ERROR_INVALID_ARGS,
               takesText ? "One text is wanted." : "No argument is wanted.");
    } else if (member == "StopEverything") {
        stopEverything(call);
    } else if (member == "Stop") {
        stop(call);
    } else if (member == "UnmuteMicrophone") {
        unmute(call);
    } else {
        auto reply = replyTo(call);
        sd_bus_message_append(reply.get(), "s", encode(statusOf(model_)).c_str());
        send(reply);
    }
}

void BusService::answerAboutProperties(sd_bus_message* call, const std::string& member) {
    const char* interface = nullptr;
    const char* property = nullptr;
    auto reply = replyTo(call);
    if (member == "Get" && sd_bus_message_has_signature(call, "ss") > 0 &&
        sd_bus_message_read(call, "ss", &interface, &property) >= 0) {
        if (std::strcmp(interface, bus::interface) != 0 ||
            bus::appendProperty(reply.get(), property, statusOf(model_)) < 0) {
            refuse(call, SD_BUS_ERROR_UNKNOWN_PROPERTY, "There is no such property.");
            return;
        }
        send(reply);
    } else if (member == "GetAll" && sd_bus_message_has_signature(call, "s") > 0 &&
               sd_bus_message_read(call, "s", &interface) >= 0) {
        sd_bus_message_open_container(reply.get(), 'a', "{sv}");
        if (std::strcmp(interface, bus::interface) == 0) {
            const auto status = statusOf(model_);
            for (const auto& each : bus::properties()) {
                sd_bus_message_open_container(reply.get(), 'e', "sv");
                sd_bus_message_append(reply.get(), "s", each.c_str());
                bus::appendProperty(reply.get(), each, status);
                sd_bus_message_close_container(reply.get());
            }
        }
        sd_bus_message_close_container(reply.get());
        send(reply);
    } else if (member == "Set") {
        refuse(call, SD_BUS_ERROR_PROPERTY_READ_ONLY, "Properties can only be read.");
    } else if (member == "Get" || member == "GetAll") {
        refuse(call, SD_BUS_ERROR_INVALID_ARGS, "Other arguments are wanted.");
    } else {
        refuse(call, SD_BUS_ERROR_UNKNOWN_METHOD, "There is no such method.");
    }
}

// MARK: - What is done

/// Otherwise it says why not.
bool BusService::mayStop(sd_bus_message* call) {
    if (model_.isAsking()) {
        // Whoever stops again hasn't seen the question yet. A flood may not hold it in front.
        if (raises_.take()) {
            model_.raiseQuestion();
        }
        sendWords(
            replyTo(call), bus::outcome::busy,
            words().text("Velmoran is asking about a browser on the screen. Answer that first."),
            {});
        return false;
    }
    if (stopReply_ || model_.isBusyStopping()) {
        sendWords(replyTo(call), bus::outcome::busy, words().text("A stop is under way already."),
                  {});
        return false;
    }
    if (!stops_.take()) {
        sendWords(replyTo(call), bus::outcome::busy,
                  words().text("There were too many requests. Try again in a few seconds."), {});
        return false;
    }
    return true;
}

void BusService::stopEverything(sd_bus_message* call) {
    if (!mayStop(call)) {
        return;
    }
    stopReply_ = replyTo(call);
    model_.stopEverything();
}

void BusService::stop(sd_bus_message* call) {
    const char* given = nullptr;
    if (sd_bus_message_read(call, "s", &given) < 0 ||
        ::strnlen(given, longestName + 1) > longestName) {
        refuse(call, SD_BUS_ERROR_INVALID_ARGS, "That is no name of an app.");
        return;
    }
    const auto apps = stoppableApps(*model_.openSessions);
    const auto meant = appsMeant(given, apps);
    if (meant.size() != 1) {
        refuse(call, meant.empty() ? bus::notInUse : bus::ambiguous,
               choiceComplaint(given, meant, apps));
        return;
    }
    if (!mayStop(call)) {
        return;
    }
    stopReply_ = replyTo(call);
    model_.stop(meant.front());
}

void BusService::stopEnded(const std::optional<StopResult>& result) {
    const auto remark = options_.remark();
    if (!stopReply_) {
        return; // somebody else's stop
    }
    if (!result) {
        sendWords(std::move(stopReply_), bus::outcome::cancelled,
                  remark.empty()
                      ? words().text("Nothing was stopped: the question about the browser was "
                                     "answered with “Cancel”.")
                      : words().text("Nothing was stopped."),
                  remark);
        return;
    }
    auto detail = result->detail().value_or("");
    if (!remark.empty()) {
        detail += (detail.empty() ? "" : " ") + remark;
    }
    sendWords(std::move(stopReply_),
              result->everythingStopped() && remark.empty() ? bus::outcome::done
                                                            : bus::outcome::incomplete,
              result->headline(), detail);
}

void BusService::unmute(sd_bus_message* call) {
    if (unmuteReply_) {
        sendWords(replyTo(call), bus::outcome::busy,
                  words().text("The microphone is being unmuted already."), {});
        return;
    }
    if (!unmutes_.take()) {
        sendWords(replyTo(call), bus::outcome::busy,
                  words().text("There were too many requests. Try again in a few seconds."), {});
        return;
    }
    unmuteReply_ = replyTo(call);
    model_.unmuteMicrophone();
}

void BusService::unmuteEnded(const MuteAnswer& result) {
    if (!unmuteReply_) {
        return;
    }
    if (!result.serverAnswered && result.mutedCount == 0) {
        sendWords(std::move(unmuteReply_), bus::outcome::incomplete,
                  words().text("The microphone couldn't be unmuted yet."),
                  words().text("The sound server didn't answer. As soon as it does, the microphone "
                               "is unmuted."));
        return;
    }
    const bool isDone = result.unmutable.empty();
    sendWords(std::move(unmuteReply_), isDone ? bus::outcome::done : bus::outcome::incomplete,
              isDone || result.mutedCount > 0 ? words().text("The microphone is no longer muted.")
                                              : words().text("The microphone couldn't be unmuted."),
              isDone ? std::string()
                     : words().text("%@ couldn't be unmuted.", {words().list(result.unmutable)}));
}

// MARK: - Answers

BusMessage BusService::replyTo(sd_bus_message* call) {
    sd_bus_message* reply = nullptr;
    sd_bus_message_new_method_return(call, &reply);
    return BusMessage(reply);
}

void BusService::refuse(sd_bus_message* call, const char* error, const std::string& why) {
    sd_bus_message* reply = nullptr;
    if (sd_bus_message_new_method_errorf(call, &reply, error, "%s", bus::busText(why).c_str()) >=
        0) {
        send(BusMessage(reply));
    }
}

void BusService::sendWords(BusMessage reply, const char* outcome, const std::string& headline,
                           const std::string& detail) {
    sd_bus_message_append(reply.get(), "sss", outcome, bus::busText(headline).c_str(),
                          bus::busText(detail).c_str());
    send(reply);
}

void BusService::send(const BusMessage& message) {
    if (link_) {
        sd_bus_send(link_->bus(), message.get(), nullptr);
        link_->settle();
    }
}

// MARK: - What has changed

void BusService::tellChangesSoon() {
    if (std::exchange(isTelling_, true)) {
        return;
    }
    mainThread_.post([this] {
        isTelling_ = false;
        tellChanges();
    });
}

void BusService::tellChanges() {
    if (!link_ || sd_bus_is_ready(link_->bus()) <= 0 || link_->isClogged()) {
        return;
    }
    const auto now = statusOf(model_);
    const auto changed = bus::changedProperties(told_, now);
    if (changed.empty()) {
        return;
    }
    sd_bus_message* made = nullptr;
    if (sd_bus_message_new_signal(link_->bus(), &made, bus::path, propertiesInterface,
                                  "PropertiesChanged") < 0) {
        return;
    }
    const BusMessage signal(made);
    sd_bus_message_append(made, "s", bus::interface);
    sd_bus_message_open_container(made, 'a', "{sv}");
    for (const auto& each : changed) {
        sd_bus_message_open_container(made, 'e', "sv");
        sd_bus_message_append(made, "s", each.c_str());
        bus::appendProperty(made, each, now);
        sd_bus_message_close_container(made);
    }
    sd_bus_message_close_container(made);
    sd_bus_message_append(made, "as", 0);
    send(signal);
    told_ = now;
}

} // namespace velmoran
