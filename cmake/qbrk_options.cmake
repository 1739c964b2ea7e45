# Compiler settings shared by every target of the project.

option(QBRK_WERROR "Treat compiler warnings as errors" OFF)
option(QBRK_SANITIZE "Build native code with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)
option(QBRK_FUZZ "Build only the portable core and the libFuzzer targets (clang)" OFF)
option(QBRK_BENCH "Build the native benchmarks" OFF)
# libmicrohttpd and pugixml are installed for the build machine's own architecture only, so a
# 32-bit native build (-m32) cannot link the emulator: it leaves it out, and with it every
# test program that links it.
option(QBRK_EMULATOR "Build the native emulator of the service and the tests that link it" ON)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)

if(QBRK_SANITIZE AND NOT WIN32)
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer
                      -fno-sanitize-recover=all -O1)
  add_link_options(-fsanitize=address,undefined)
endif()

if(QBRK_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()

if(WIN32)
  # Ship without MinGW runtime DLLs: the host loads nothing but system libraries.
  add_link_options(-static -static-libgcc -static-libstdc++)
  add_compile_definitions(WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0601 WINVER=0x0601)
endif()

# Warnings, and the code page of narrow literals, for the project's own targets.
# The library speaks Shift_JIS (code page 932); g++ turns the UTF-8 sources' narrow
# literals into those bytes. clang cannot, so code built by clang must not rely on them.
function(qbrk_target_options target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wshadow -Wnon-virtual-dtor
                                           $<$<BOOL:${QBRK_WERROR}>:-Werror>)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX,C>:-finput-charset=UTF-8
                                             -fexec-charset=CP932>)
    # g++ 12 at -O2 and above warns wrongly about "text" + std::string (GCC bug 105329),
    # which breaks the Release (bench) build under -Werror.
    target_compile_options(${target} PRIVATE -Wno-restrict)
  endif()
endfunction()

# Warnings for the emulator of the service and what it shares with the model of the service.
# Their narrow literals stay UTF-8 (<chrono> does not compile for CP932); files that serve
# Shift_JIS text of their own say so per file.
# g++ 12 at -O2 and above warns wrongly about "text" + std::string (GCC bug 105329).
function(qbrk_emulator_options target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wshadow -Wnon-virtual-dtor
                                           $<$<BOOL:${QBRK_WERROR}>:-Werror>
                                           $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
endfunction()

# Keeps a copy of `file_target`'s output (the DLL, the host program) beside `target`'s, named
# `file_name`, and refreshes it whenever that output changes. A POST_BUILD copy runs only when
# `target` itself relinks, so a changed DLL would stay behind a program that did not.
function(qbrk_copy_beside target file_target file_name)
  set(copy ${CMAKE_CURRENT_BINARY_DIR}/${file_name})
  add_custom_command(OUTPUT ${copy}
    COMMAND ${CMAKE_COMMAND} -E copy $<TARGET_FILE:${file_target}> ${copy}
    DEPENDS ${file_target}
    VERBATIM)
  add_custom_target(${target}_copies_${file_target} DEPENDS ${copy})
  add_dependencies(${target} ${target}_copies_${file_target})
endfunction()
