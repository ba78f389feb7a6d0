# Of the mutated copy: included when its project begins.
add_compile_options("SHELL:-include \"${CMAKE_CURRENT_LIST_DIR}/mutation.h\"")
