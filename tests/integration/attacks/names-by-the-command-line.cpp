// A script that records by itself and writes another program's path over its own command line: what
// an interpreter runs is the process's own word.
#include "integration/attacks/ToldNames.h"

namespace velmoran::attacks {

namespace {

/// Overwrites the memory of its arguments, then records through PulseAudio's interface.
constexpr auto recorder = R"python(import ctypes
fields = open("/proc/self/stat").read().rsplit(")", 1)[1].split()
begin, end = int(fields[45]), int(fields[46])
claim = b"python3\0/usr/bin/pw-cat\0"
ctypes.memmove(begin, claim.ljust(end - begin, b"\0"), end - begin)

class Spec(ctypes.Structure):
    _fields_ = [("format", ctypes.c_int), ("rate", ctypes.c_uint32), ("channels", ctypes.c_uint8)]

pulse = ctypes.CDLL("libpulse-simple.so.0")
pulse.pa_simple_new.restype = ctypes.c_void_p
error = ctypes.c_int()
stream = pulse.pa_simple_new(None, b"x", 2, None, b"x", ctypes.byref(Spec(3, 44100, 1)), None, None,
                             ctypes.byref(error))
data = ctypes.create_string_buffer(4096)
while pulse.pa_simple_read(ctypes.c_void_p(stream), data, ctypes.c_size_t(len(data)), None) == 0:
    pass
)python";

} // namespace

Verdict namesByTheCommandLine(Scene& scene) {
    scene.session().need({"python3", "pw-cat"});
    scene.startSound();
    scene.startWatch();
    const auto script = scene.session().home() / "record.py";
    support::writeFile(script, recorder);
    const auto told = nameToldOf(scene, {"python3", script, std::string(100, 'x')});
    if (told.empty()) {
        throw NotTried("the recorder couldn't record: " + scene.session().logs());
    }
    return told.starts_with("python3") ? held("told as its interpreter, “" + told + "”")
                                       : fell("told as “" + told + "”");
}

} // namespace velmoran::attacks
