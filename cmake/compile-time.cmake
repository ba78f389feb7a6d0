# What makes the compiler faster and changes nothing of what it makes.
#
# GCC looks for garbage in its memory from a few megabytes on, again and again: a seventh of its time
# with sources that are taken together. Later is soon enough; a compiler takes up to 1 GB either way.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  add_compile_options("SHELL:--param ggc-min-expand=300" "SHELL:--param ggc-min-heapsize=200000")
  # ccache knows a source that begins with a precompiled header by it.
  add_compile_options(-fpch-preprocess)
endif()
