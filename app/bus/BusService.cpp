#include "app/bus/BusService.h"

#include "app/bus/BusNames.h"
#include "app/bus/BusProperties.h"
#include "app/bus/BusReply.h"
#include "app/bus/Identity.h"

#include <algorithm>
#include <cstring>
#include <string_view>
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
      requests_(model, scheduler, options_.remark,
                [this](const BusMessage& message) { send(message); }),
      choices_(
          model, scheduler, [this](const OutsideChange& change) { tell(change); },
          [this](const BusMessage& message) { send(message); }),
      news_(options_.isVelmoran, options_.changed),
      mainThread_(scheduler) {
    const auto changed = [this](const auto&) {
        tellChangesSoon();
    };
    subscriptions_.push_back(model.snapshot.subscribe(changed));
    subscriptions_.push_back(model.openSessions.subscribe(changed));
    subscriptions_.push_back(model.isStopping.subscribe(changed));
    subscriptions_.push_back(model.settings.microphoneMuted.subscribe(changed));
    search();
    connect();
}

BusService::~BusService() {
    news_.forget(); // on a connection that goes before it
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
    news_.listen(link_->bus());
    announced_ = statusOf(model_);
    link_->rearm();
}

void BusService::lost() {
    // Not in a call of the link itself.
    mainThread_.post([this] {
        requests_.forgetCallers();
        callers_.reset();
        news_.forget();
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
        self.options_.onAnswer();
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
            self.model_.adoptMute();
        }
        return 0;
    }
    if (self.news_.take(message)) {
        return 1;
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
        auto reply = bus::replyTo(call);
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

const std::vector<BusService::Method>& BusService::methods() {
    static const std::vector<Method> all = {
        {"StopEverything", "",
         [](auto& self, auto* call) {
             self.requests_.stopEverything(call);
         }},
        {"Stop", "s",
         [](auto& self, auto* call) {
             self.requests_.stop(call);
         }},
        {"UnmuteMicrophone", "",
         [](auto& self, auto* call) {
             self.requests_.unmute(call);
         }},
        {"Identify", "s",
         [](auto& self, auto* call) {
             self.identify(call);
         }},
        {"Status", "",
         [](auto& self, auto* call) {
             self.tellStatus(call);
         }},
        {"Settings", "",
         [](auto& self, auto* call) {
             self.choices_.settings(call);
         }},
        {"ChangeSetting", "ss",
         [](auto& self, auto* call) {
             self.choices_.changeSetting(call);
         }},
        {"Trust", "",
         [](auto& self, auto* call) {
             self.choices_.trust(call);
         }},
        {"Distrust", "ss",
         [](auto& self, auto* call) {
             self.choices_.distrust(call);
         }},
    };
    return all;
}

void BusService::answerAsProgram(sd_bus_message* call, const std::string& member) {
    const auto method = std::ranges::find(methods(), member, &Method::name);
    if (method == methods().end()) {
        refuse(call, SD_BUS_ERROR_UNKNOWN_METHOD, "There is no such method.");
    } else if (sd_bus_message_has_signature(call, method->takes) <= 0) {
        const std::string_view takes = method->takes;
        refuse(call, SD_BUS_ERROR_INVALID_ARGS,
               takes.empty()  ? "No argument is wanted."
               : takes == "s" ? "One text is wanted."
                              : "Two texts are wanted.");
    } else {
        method->answer(*this, call);
    }
}

void BusService::identify(sd_bus_message* call) {
    const char* place = nullptr;
    if (sd_bus_message_read(call, "s", &place) >= 0 && answerIdentity(place)) {
        send(bus::replyTo(call));
    } else {
        refuse(call, SD_BUS_ERROR_INVALID_ARGS, "That is no place to come to.");
    }
}

void BusService::tellStatus(sd_bus_message* call) {
    auto reply = bus::replyTo(call);
    sd_bus_message_append(reply.get(), "s", encode(statusOf(model_)).c_str());
    send(reply);
}

void BusService::answerAboutProperties(sd_bus_message* call, const std::string& member) {
    const char* interface = nullptr;
    const char* property = nullptr;
    auto reply = bus::replyTo(call);
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
        const bool isOurs = std::strcmp(interface, bus::interface) == 0;
        bus::appendProperties(reply.get(), isOurs ? bus::properties() : std::vector<std::string>(),
                              statusOf(model_));
        send(reply);
    } else if (member == "Set") {
        refuse(call, SD_BUS_ERROR_PROPERTY_READ_ONLY, "Properties can only be read.");
    } else if (member == "Get" || member == "GetAll") {
        refuse(call, SD_BUS_ERROR_INVALID_ARGS, "Other arguments are wanted.");
    } else {
        refuse(call, SD_BUS_ERROR_UNKNOWN_METHOD, "There is no such method.");
    }
}

void BusService::send(const BusMessage& message) {
    if (link_ && message) {
        sd_bus_send(link_->bus(), message.get(), nullptr);
        link_->rearm();
    }
}

void BusService::refuse(sd_bus_message* call, const char* error, const std::string& why) {
    send(bus::refusalOf(call, error, why));
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

void BusService::tell(const OutsideChange& change) {
    options_.changed(change);
    if (link_ && !link_->isClogged()) {
        send(OutsideNews::signalOf(link_->bus(), change));
    }
}

void BusService::tellChanges() {
    if (!link_ || sd_bus_is_ready(link_->bus()) <= 0 || link_->isClogged()) {
        return;
    }
    const auto now = statusOf(model_);
    const auto changed = bus::changedProperties(announced_, now);
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
    bus::appendProperties(made, changed, now);
    sd_bus_message_append(made, "as", 0);
    send(signal);
    announced_ = now;
}

} // namespace velmoran
