# An interface target that every target of this project links: warnings are errors.
add_library(lumo_warnings INTERFACE)
target_compile_options(lumo_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                                               -Wnon-virtual-dtor -Woverloaded-virtual -Werror)
