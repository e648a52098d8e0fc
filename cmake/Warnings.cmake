# One interface target that every target of ours links, so that a library's own headers are never
# held to our warnings.
add_library(VelmoranWarnings INTERFACE)
target_compile_options(VelmoranWarnings INTERFACE
    -Wall -Wextra -Wpedantic -Wnon-virtual-dtor -Wold-style-cast -Wcast-qual
    -Woverloaded-virtual -Wunused -Wdouble-promotion -Wformat=2
    # Files that are joined see names of each other that they need not know, so that there only a
    # local name that hides another counts, for which GCC alone has a form of its own.
    $<$<NOT:$<BOOL:${VELMORAN_JOINED}>>:-Wshadow>
    $<$<AND:$<BOOL:${VELMORAN_JOINED}>,$<CXX_COMPILER_ID:GNU>>:-Wshadow=local>
    # PipeWire's macros stand on it, and Clang blames the place that uses them.
    $<$<CXX_COMPILER_ID:Clang>:-Wno-gnu-statement-expression-from-macro-expansion>
    # Google Benchmark's macros count with __COUNTER__, of which Clang 22 says that it comes with C2y.
    $<$<AND:$<CXX_COMPILER_ID:Clang>,$<VERSION_GREATER_EQUAL:$<CXX_COMPILER_VERSION>,22>>:-Wno-c2y-extensions>
    $<$<BOOL:${VELMORAN_WERROR}>:-Werror>)
