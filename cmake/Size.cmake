# What we have compiled mostly waits, and what it needs to wake up stays in memory all the time: rooms
# that link this are built for size in what people run. `core`, `system` and the player of recordings,
# which have much to work through at times, are built for speed.
add_library(VelmoranSmall INTERFACE)
target_compile_options(VelmoranSmall INTERFACE $<$<CONFIG:RelWithDebInfo>:-Os>)
