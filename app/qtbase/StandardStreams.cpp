#include "app/qtbase/StandardStreams.h"

#include <fcntl.h>
#include <initializer_list>
#include <unistd.h>

namespace velmoran {

void fillStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) < 0) {
            // The lowest free number is this one, as those below are taken.
            ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

} // namespace velmoran
