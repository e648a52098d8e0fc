// How velmoranctl asks the Velmoran that is running, and how it says what came of it. Main
// thread.
#pragma once

#include "ctl/Ask.h"
#include "ctl/BusCaller.h"
#include "ctl/Output.h"

#include <string>
#include <vector>

namespace velmoran::asking {

/// Before anything else: words, time zone, and that a reader who has gone is noticed when writing.
void prepare(const AskOptions& options);

/// On standard error; gives the status back.
int complain(const std::string& sentence, int status);

/// A reply, or the exit status of its failure.
struct Call {
    BusMessage reply;
    int status = AskEnd::done;
    bool isAbsent = false; ///< there is no Velmoran to be asked, as far as the bus knows
};

enum class Wait { bounded, asLongAsItLives };
/// Whether it is said, too, that no Velmoran runs.
enum class Absence { isSaid, isLeftToCaller };

Call call(const AskOptions& options, const char* method,
          const std::vector<std::string>& arguments = {}, Wait wait = Wait::bounded,
          Absence absence = Absence::isSaid);

/// Says that a reply wasn't to be understood.
int complainOfAnswer(const std::string& why);

/// The exit status. That something wasn't done matters more than that it couldn't be said.
int finish(const Output& output, int status);

/// Prints what has been done.
int tell(const Call& call);

/// By the clock of the machine.
Timestamp present();

} // namespace velmoran::asking
