# One interface target that every target of ours links, so that a library's own headers are never
# held to our warnings.
add_library(VelmoranWarnings INTERFACE)
target_compile_options(VelmoranWarnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Wcast-qual
    -Woverloaded-virtual -Wunused -Wdouble-promotion -Wformat=2
    $<$<BOOL:${VELMORAN_WERROR}>:-Werror>)
