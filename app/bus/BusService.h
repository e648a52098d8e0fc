// The running program as other programs of the same user reach it over the session bus: they may
// stop, unmute and ask what is on. While there is no bus it is looked for, seldom and without
// waking the machine for it. A request that comes while one of its kind is under way is dropped,
// and whatever waits to be read waits with the bus. Owned by `main` beside the model; main thread,
// with Qt's event loop.
#pragma once

#include "app/bus/BusLink.h"
#include "app/bus/BusRequests.h"
#include "app/bus/BusSearch.h"
#include "app/bus/CallerCheck.h"
#include "app/bus/ChoiceRequests.h"
#include "app/bus/OutsideNews.h"
#include "app/bus/ProgramStatus.h"
#include "app/model/AppModel.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velmoran {

class BusService {
public:
    struct Options {
        std::string address = sessionBusAddress();
        /// Between two looks for a bus whose socket doesn't tell that it comes.
        Seconds searchInterval = 30.0;
        /// Leaves the name to the next program that wants it, for as long as that runs, as a watch
        /// in a terminal does to the desktop's program.
        bool givesWay = false;
        /// What is to be said of a stop that has just ended beside what was done, and why not
        /// everything was; empty if there is nothing. Asked once for each stop, whoever wanted it.
        std::function<std::string()> remark = [] {
            return std::string();
        };
        /// Another program has had something changed that is the user's to choose: here, or in
        /// another Velmoran if it is said which process is one.
        OutsideNews::IsVelmoran isVelmoran = {};
        std::function<void(const OutsideChange&)> changed = [](const OutsideChange&) {
        };
        /// The bus has answered, for the first time since it was looked for.
        std::function<void()> onAnswer = [] {
        };
    };

    /// Both outlive the service.
    BusService(AppModel& model, Scheduler& scheduler);
    BusService(AppModel& model, Scheduler& scheduler, Options options);
    ~BusService();
    BusService(const BusService&) = delete;
    BusService& operator=(const BusService&) = delete;

private:
    struct Method {
        std::string name;
        const char* takes; ///< as D-Bus writes it
        void (*answer)(BusService& self, sd_bus_message* call);
    };
    static const std::vector<Method>& methods();

    void connect();
    void search();
    void lost();
    static int named(sd_bus_message* reply, void* service, sd_bus_error* error);
    static int received(sd_bus_message* message, void* service, sd_bus_error* error);
    void admit(BusMessage call);
    void answer(sd_bus_message* call);
    void answerAsProgram(sd_bus_message* call, const std::string& member);
    void identify(sd_bus_message* call);
    void tellStatus(sd_bus_message* call);
    void answerAboutProperties(sd_bus_message* call, const std::string& member);

    void refuse(sd_bus_message* call, const char* error, const std::string& why);
    void send(const BusMessage& message);

    void tell(const OutsideChange& change);
    void tellChanges();
    void tellChangesSoon();

    AppModel& model_;
    Scheduler& scheduler_;
    Options options_;
    std::unique_ptr<CallerCheck> callers_;
    std::unique_ptr<BusLink> link_;
    BusRequests requests_; ///< what they hold goes before the link
    ChoiceRequests choices_;
    OutsideNews news_;
    ProgramStatus announced_;
    bool isTelling_ = false;
    std::unique_ptr<BusSearch> search_; ///< until the bus has answered
    std::vector<Subscription> subscriptions_;
    MainThread mainThread_;
};

} // namespace velmoran
