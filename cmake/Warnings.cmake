# Flags of every target of ours: the language, warnings as errors, and arithmetic exactly as written.
add_library(vorlin_flags INTERFACE)
target_compile_features(vorlin_flags INTERFACE cxx_std_20)
target_compile_options(
  vorlin_flags INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Werror -ffp-contract=off
                         -fvisibility=hidden)

# VORLIN_SANITIZE: a comma-separated list for -fsanitize=, or empty.
if(VORLIN_SANITIZE)
  add_compile_options(-fsanitize=${VORLIN_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer -g)
  add_link_options(-fsanitize=${VORLIN_SANITIZE})
endif()
