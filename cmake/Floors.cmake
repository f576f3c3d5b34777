# Options that every target of the project is built with.
function(zor_options target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wundef -fno-exceptions -fno-rtti)
  zor_common_options(${target})
endfunction()

# Test programs use GoogleTest, which wants exceptions and run-time types. g++ 12 warns of overlapping copies where
# there are none when strings are added up (-Wrestrict), and under the sanitizers of optionals that were never set
# (-Wmaybe-uninitialized), so those warnings are off.
function(zor_test_options target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wshadow -Wundef $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict;-Wno-maybe-uninitialized>)
  zor_common_options(${target})
endfunction()

# Test programs themselves: compiling GoogleTest's macros takes several times as long with optimisation, under the
# sanitizers most of all, and the time of tests is spent in what they test.
function(zor_suite_options target)
  zor_test_options(${target})
  target_compile_options(${target} PRIVATE -O0)
endfunction()

# Programs above the floors are ordinary C++, with exceptions and run-time types. They add up strings as tests do.
function(zor_program_options target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wundef $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict;-Wno-maybe-uninitialized>)
  zor_common_options(${target})
  # The libraries are headers: with both, optimisation and the sanitizers, some sources take a minute each.
  if(ZOR_SANITIZE)
    target_compile_options(${target} PRIVATE -O0)
  endif()
endfunction()

function(zor_common_options target)
  target_compile_options(${target} PRIVATE -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)
  if(ZOR_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(ZOR_SANITIZE)
    set(flags -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    target_compile_options(${target} PRIVATE ${flags})
    target_link_options(${target} PRIVATE ${flags})
  endif()
  if(ZOR_COVERAGE)
    target_compile_options(${target} PRIVATE --coverage -O0)
    target_link_options(${target} PRIVATE --coverage)
    get_target_property(type ${target} TYPE)
    if(type STREQUAL "EXECUTABLE")
      target_link_libraries(${target} PRIVATE testkit_counters)
    endif()
  endif()
endfunction()

# zor_floor(NAME [DEPENDS lib...] [LIBRARIES lib...]): a static library of all sources below src and unix/src of the
# current directory, with include and unix/include as its public face and src for itself and its tests. Every public
# header is compiled alone by the target all_verify_interface_header_sets.
function(zor_floor name)
  cmake_parse_arguments(arg "" "" "DEPENDS;LIBRARIES" ${ARGN})
  set(here ${CMAKE_CURRENT_SOURCE_DIR})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${here}/src/*.cpp ${here}/unix/src/*.cpp)
  file(GLOB headers CONFIGURE_DEPENDS ${here}/include/*.h ${here}/unix/include/*.h)
  set(faces ${here}/include)
  if(IS_DIRECTORY ${here}/unix/include)
    list(APPEND faces ${here}/unix/include)
  endif()
  add_library(${name} STATIC ${sources})
  zor_options(${name})
  target_sources(${name} PUBLIC FILE_SET HEADERS BASE_DIRS ${faces} FILES ${headers})
  set_target_properties(${name} PROPERTIES LINKER_LANGUAGE CXX VERIFY_INTERFACE_HEADER_SETS ON)
  target_include_directories(${name} PRIVATE ${here}/src ${here}/unix/src)
  target_link_libraries(${name} PUBLIC ${arg_DEPENDS} PRIVATE ${arg_LIBRARIES})
endfunction()

# zor_inner(TARGET...): the sources of the target, and the tests of the floor, see the framework's inner layer.
function(zor_inner)
  foreach(target ${ARGN})
    target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/fwos/inner)
  endforeach()
endfunction()

# zor_floor_test(NAME [CHECKED] [LIBRARIES lib...]): the floor's test program, of the sources of the current directory.
# It links its own floor and those below, so an upward call is a link error; it reaches the headers that
# the floor's sources see.
# With CHECKED all tests run once more under the memory manager's checks, which also find what a test leaves allocated.
function(zor_floor_test name)
  cmake_parse_arguments(arg "CHECKED" "" "LIBRARIES" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS *.cpp)
  add_executable(${name}_test ${sources})
  zor_suite_options(${name}_test)
  target_include_directories(${name}_test PRIVATE $<TARGET_PROPERTY:${name},INCLUDE_DIRECTORIES>)
  # All of testkit, so that its hooks are there for the standard floor, whether a test names them or not.
  target_link_libraries(${name}_test PRIVATE
    $<LINK_LIBRARY:WHOLE_ARCHIVE,testkit> ${name} ${arg_LIBRARIES} GTest::gtest)
  add_test(NAME ${name} COMMAND ${name}_test)
  zor_test_environment(${name})
  # The costs of a checked block grow with their number, so tests with very many are left out; failure sweeps boot a
  # framework of their own.
  if(arg_CHECKED)
    add_test(NAME ${name}_checked COMMAND ${name}_test --debug-level=2
      --gtest_filter=-*LittleTime:*.AChainOf*:*LongChain*:*HundredThousand*:*OfAnyLength*:*OnRandomWarehouses:*DeathTest*:Faults*)
    zor_test_environment(${name}_checked)
  endif()
endfunction()

function(zor_test_environment name)
  set_tests_properties(${name} PROPERTIES TIMEOUT 900 ENVIRONMENT
    "LC_ALL=C.UTF-8;ASAN_OPTIONS=abort_on_error=0;UBSAN_OPTIONS=print_stacktrace=1;LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tools/leaks.supp:print_suppressions=0")
endfunction()
