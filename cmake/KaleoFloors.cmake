# The library is built floor by floor: each folder is a static library of its own that sees only the floors it is given, so that a call
# upwards does not link. libkaleo is made of the floors' objects.

# Options for this project's own code; nothing of it reaches a host's targets.
add_library(kaleo_build_options INTERFACE)
target_compile_features(kaleo_build_options INTERFACE cxx_std_20)
target_compile_options(kaleo_build_options INTERFACE -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Wno-missing-field-initializers)
if(KALEO_WARNINGS_AS_ERRORS)
  target_compile_options(kaleo_build_options INTERFACE -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # Optimised, "a" + std::string looks to it like an overlapping copy (GCC bug 105651).
  target_compile_options(kaleo_build_options INTERFACE $<$<CONFIG:Release>:-Wno-restrict>)
endif()
if(KALEO_SANITIZE)
  # GCC's guess at uninitialised values is wrong too often in what the sanitizers add to the code.
  target_compile_options(kaleo_build_options INTERFACE -fsanitize=${KALEO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer
                                                       -Wno-maybe-uninitialized)
  target_link_options(kaleo_build_options INTERFACE -fsanitize=${KALEO_SANITIZE})
  if(KALEO_SANITIZE MATCHES thread AND CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    # Asio uses fences beside its locks; the sanitizer sees the locks, and g++ warns about the fences.
    target_compile_options(kaleo_build_options INTERFACE -Wno-tsan)
  endif()
endif()
if(KALEO_BUILD_FUZZERS)
  # A compiler with libFuzzer guides the fuzz targets by the code they reach; with others a driver of our own runs them.
  include(CheckCXXSourceCompiles)
  set(CMAKE_REQUIRED_FLAGS -fsanitize=fuzzer)
  check_cxx_source_compiles([[
    #include <cstddef>
    #include <cstdint>
    extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t*, std::size_t) { return 0; }
  ]] KALEO_LIBFUZZER)
  unset(CMAKE_REQUIRED_FLAGS)
  if(KALEO_LIBFUZZER)
    target_compile_options(kaleo_build_options INTERFACE -fsanitize=fuzzer-no-link)
  endif()
endif()

# kaleo_floor(<name> <folder> [FLOORS <lower floor>...] [LIBRARIES <library>...])
function(kaleo_floor name folder)
  cmake_parse_arguments(FLOOR "" "" "FLOORS;LIBRARIES" ${ARGN})
  list(TRANSFORM FLOOR_FLOORS PREPEND kaleo_)
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp)
  if(NOT sources)  # headers alone
    add_library(kaleo_${name} INTERFACE)
    target_include_directories(kaleo_${name} INTERFACE ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/Source)
    target_link_libraries(kaleo_${name} INTERFACE ${FLOOR_FLOORS} fmt::fmt)
    return()
  endif()
  add_library(kaleo_${name} STATIC ${sources})
  set_target_properties(kaleo_${name} PROPERTIES LINKER_LANGUAGE CXX POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden
                                                 VISIBILITY_INLINES_HIDDEN ON)
  target_include_directories(kaleo_${name} PUBLIC ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/Source)
  target_link_libraries(kaleo_${name} PUBLIC ${FLOOR_FLOORS} fmt::fmt PRIVATE ${FLOOR_LIBRARIES} kaleo_build_options)
  set_property(GLOBAL APPEND PROPERTY KALEO_FLOORS kaleo_${name})
  set_property(GLOBAL APPEND PROPERTY KALEO_FLOOR_LIBRARIES ${FLOOR_LIBRARIES})
endfunction()

# Lets a shared library export the namespace kaleo only, of which hidden visibility leaves what is marked KALEO_API. Without it the
# standard library's templates that our code instantiates are exported as well.
function(kaleo_export_public_symbols target)
  set(map ${PROJECT_SOURCE_DIR}/cmake/kaleo-exports.map)
  target_link_options(${target} PRIVATE $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,SHARED_LIBRARY>:LINKER:--version-script=${map}>)
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${map})
endfunction()
