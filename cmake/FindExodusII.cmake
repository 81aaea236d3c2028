# Finds the Exodus II library: ExodusII::ExodusII.
#
# The static library comes first: where a distribution builds the shared one against the parallel NetCDF, it
# brings a second NetCDF and MPI into the process.
find_path(ExodusII_INCLUDE_DIR exodusII.h)
find_library(ExodusII_LIBRARY NAMES libexoIIv2c.a libexodus.a exoIIv2c exodus)
find_path(ExodusII_NETCDF_INCLUDE_DIR netcdf.h)
find_library(ExodusII_NETCDF_LIBRARY netcdf)

if(ExodusII_INCLUDE_DIR AND EXISTS ${ExodusII_INCLUDE_DIR}/exodusII.h)
  file(STRINGS ${ExodusII_INCLUDE_DIR}/exodusII.h line REGEX "define EX_API_VERS(ION)? ")
  string(REGEX MATCH "[0-9]+\\.[0-9]+" ExodusII_VERSION "${line}")
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(ExodusII
  REQUIRED_VARS ExodusII_LIBRARY ExodusII_INCLUDE_DIR ExodusII_NETCDF_LIBRARY ExodusII_NETCDF_INCLUDE_DIR
  VERSION_VAR ExodusII_VERSION
  REASON_FAILURE_MESSAGE "on Debian: apt-get install libexodusii-dev")

if(ExodusII_FOUND AND NOT TARGET ExodusII::ExodusII)
  add_library(ExodusII::ExodusII UNKNOWN IMPORTED)
  set_target_properties(ExodusII::ExodusII PROPERTIES
    IMPORTED_LOCATION ${ExodusII_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES "${ExodusII_INCLUDE_DIR};${ExodusII_NETCDF_INCLUDE_DIR}"
    INTERFACE_LINK_LIBRARIES ${ExodusII_NETCDF_LIBRARY})
endif()
mark_as_advanced(ExodusII_INCLUDE_DIR ExodusII_LIBRARY ExodusII_NETCDF_INCLUDE_DIR ExodusII_NETCDF_LIBRARY)
