# Finds METIS: METIS::METIS, and METIS_INDEX_BITS, the width of its numbers.
#
# Another library ships a header of the same name: a call is compiled and linked, not only a file looked for.
find_path(METIS_INCLUDE_DIR metis.h)
find_library(METIS_LIBRARY metis)

if(METIS_INCLUDE_DIR AND METIS_LIBRARY)
  include(CheckCXXSourceCompiles)
  include(CMakePushCheckState)
  cmake_push_check_state(RESET)
  set(CMAKE_REQUIRED_INCLUDES ${METIS_INCLUDE_DIR})
  set(CMAKE_REQUIRED_LIBRARIES ${METIS_LIBRARY})
  set(CMAKE_REQUIRED_FLAGS -w) # whatever the project makes of warnings
  set(CMAKE_REQUIRED_QUIET ON)
  check_cxx_source_compiles("
    #include <metis.h>
    static_assert(METIS_VER_MAJOR >= 5 && IDXTYPEWIDTH >= 32);
    int main() {
      idx_t options[METIS_NOPTIONS], starts[] = {0, 1, 2}, ends[] = {1, 0}, vertices = 2, weights = 1, parts = 1, cut, to[2];
      METIS_SetDefaultOptions(options);
      return METIS_PartGraphKway(&vertices, &weights, starts, ends, nullptr, nullptr, nullptr, &parts, nullptr, nullptr,
                                 options, &cut, to);
    }" METIS_IS_USABLE)
  cmake_pop_check_state()
  file(STRINGS ${METIS_INCLUDE_DIR}/metis.h lines REGEX "define METIS_VER_(MAJOR|MINOR|SUBMINOR) ")
  string(REGEX REPLACE "[^0-9;]" "" METIS_VERSION "${lines}")
  string(REPLACE ";" "." METIS_VERSION "${METIS_VERSION}")
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(METIS
  REQUIRED_VARS METIS_LIBRARY METIS_INCLUDE_DIR METIS_IS_USABLE
  VERSION_VAR METIS_VERSION
  REASON_FAILURE_MESSAGE "on Debian: apt-get install libmetis-dev")

if(METIS_FOUND AND NOT TARGET METIS::METIS)
  add_library(METIS::METIS UNKNOWN IMPORTED)
  set_target_properties(METIS::METIS PROPERTIES IMPORTED_LOCATION ${METIS_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${METIS_INCLUDE_DIR})
endif()
mark_as_advanced(METIS_INCLUDE_DIR METIS_LIBRARY)
