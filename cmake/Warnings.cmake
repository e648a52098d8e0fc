# One interface target that every target of ours links, so that a library's own headers are never
# held to our warnings.
add_library(VelmoranWarnings INTERFACE)
target_compile_options(VelmoranWarnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Wcast-qual
    -Woverloaded-virtual -Wunused -Wdouble-promotion -Wformat=2
    # PipeWire's macros stand on it, and Clang blames the place that uses them.
    $<$<CXX_COMPILER_ID:Clang>:-Wno-gnu-statement-expression-from-macro-expansion>
    $<$<BOOL:${VELMORAN_WERROR}>:-Werror>)
