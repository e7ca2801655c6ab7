# Installs the build into a fresh folder, builds the example outside the tree against what was installed,
# once by the CMake package and once by pkg-config, and has both render.
# usage: cmake -D BUILD=... -D SOURCE=... -D WORK=... -D COMPILER=... -D FLAGS=... -P install_test.cmake

function(run)
  execute_process(COMMAND ${ARGV} COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
endfunction()

file(REMOVE_RECURSE ${WORK})
set(prefix ${WORK}/prefix)
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix})
file(COPY ${SOURCE}/examples/one_frame DESTINATION ${WORK})

run(${CMAKE_COMMAND} -S ${WORK}/one_frame -B ${WORK}/build -D CMAKE_PREFIX_PATH=${prefix}
    -D CMAKE_CXX_COMPILER=${COMPILER} -D CMAKE_CXX_FLAGS=${FLAGS})
run(${CMAKE_COMMAND} --build ${WORK}/build)
execute_process(COMMAND ${WORK}/build/one_frame OUTPUT_FILE ${WORK}/package.pam
                                                COMMAND_ERROR_IS_FATAL ANY)

file(GLOB_RECURSE pc ${prefix}/vorlin-hosting.pc)
cmake_path(GET pc PARENT_PATH pc_dir)
set(ENV{PKG_CONFIG_PATH} ${pc_dir})
function(ask variable question)
  execute_process(COMMAND pkg-config ${question} vorlin-hosting OUTPUT_VARIABLE answer
                  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  separate_arguments(answer)
  set(${variable} ${answer} PARENT_SCOPE)
endfunction()
ask(cflags --cflags)
ask(libs --libs)
ask(effect --variable=effect)
separate_arguments(FLAGS)
run(${COMPILER} ${FLAGS} ${cflags} "-DEFFECT=\"${effect}\"" ${WORK}/one_frame/main.cpp ${libs} -o
    ${WORK}/one_frame_pc)
execute_process(COMMAND ${WORK}/one_frame_pc OUTPUT_FILE ${WORK}/pkg_config.pam
                                             COMMAND_ERROR_IS_FATAL ANY)

file(READ ${WORK}/package.pam picture HEX)
string(FIND "${picture}" "454e444844520a" header_end)  # "ENDHDR\n"
math(EXPR start "${header_end} + 14")
string(SUBSTRING "${picture}" ${start} -1 pixels)
string(LENGTH "${pixels}" length)
math(EXPR expected "320 * 180 * 4 * 2")
if(NOT length EQUAL expected)
  message(FATAL_ERROR "the picture holds ${length} hexadecimal digits instead of ${expected}")
endif()
# The stroke runs through the middle: white or nearly so there, with full alpha; nothing in the corner.
math(EXPR middle "(90 * 320 + 160) * 8 + 6")
string(SUBSTRING "${pixels}" ${middle} 2 middle_alpha)
string(SUBSTRING "${pixels}" 0 8 corner)
if(NOT middle_alpha STREQUAL "ff" OR NOT corner STREQUAL "00000000")
  message(FATAL_ERROR "the stroke is not where it should be: ${middle_alpha} ${corner}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${WORK}/package.pam ${WORK}/pkg_config.pam
                        COMMAND_ERROR_IS_FATAL ANY)
