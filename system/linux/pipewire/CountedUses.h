// Which of the uses that the graph shows are told of: those that count, and for a moment more those
// that were short. Owned by the graph's reader; the scheduler's thread.
#pragma once

#include "system/linux/pipewire/UseConfirmation.h"
#include "system/linux/pipewire/UseHold.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace velmoran {

class CountedUses {
public:
    struct Times {
        Seconds confirmation = 0;
        /// A stream that stopped before that and whose node goes within so long has ended. It is
        /// told of for as long, and so is whatever counts and pauses after less.
        Seconds brief = 0;
    };
    struct User {
        GraphSerial client = 0;
        GraphSerial node = 0;
        std::string app;     ///< by which short uses are added up
        bool isSure = false; ///< no false start, whatever its length
        /// It will be told apart in a moment, or can't be: until then it isn't told of, and if it
        /// is gone by then, briefly as who it is said to be here.
        bool isUndecided = false;
        GraphPicture::Process entry;
    };

    /// `changed` is called when others are to be told of: time to look again. `clock` is one that
    /// is never set; it and the scheduler outlive this.
    CountedUses(Scheduler& scheduler, const Clock& clock, Times times,
                std::function<void()> changed);

    /// Those of them who are told of now, with what counts of each. `isThere` says whether a node
    /// is still in the graph.
    std::vector<GraphPicture::Process> tellable(std::vector<User> users,
                                                const std::function<bool(GraphSerial)>& isThere);
    /// Nothing is left of the graph.
    void clear();
    /// And the next one is another server's, whose numbers mean others.
    void forgetServer();
    /// Nothing is called back from now on.
    void stop();

private:
    /// As it is told of while it is told of for one direction alone.
    struct Part {
        GraphPicture::Process entry;
        GraphSerial node = 0;
    };

    /// Something that is over after its time.
    template <typename What>
    struct Passing {
        What what;
        Subscription end;
    };

    /// Whoever was undecided before, for as long as he is.
    struct Waiting {
        GraphPicture::Process entry;
        bool isSure = false;
    };

    void keepWaiting(std::vector<User>& users);
    void showBriefly(const UseConfirmation::Use& use, const GraphPicture::Process& entry);

    Scheduler& scheduler_;
    Times times_;
    std::function<void()> changed_;
    UseConfirmation confirmation_;
    std::map<UseConfirmation::Use, Part> parts_;            ///< of those who were there last
    std::map<UseConfirmation::Use, Passing<Part>> leaving_; ///< stopped a moment ago
    std::map<GraphSerial, Waiting> waiting_;                ///< by client
    /// Over, and still told of.
    std::map<UseConfirmation::Use, Passing<GraphPicture::Process>> brief_;
};

} // namespace velmoran
