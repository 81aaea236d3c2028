# g++ 12 sees overlapping copies in sums of std::string where there are none (its bug 105651).
add_compile_options($<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)

# cg_precompile(<target>): headers of the standard library that many sources include, read once, when
# CORE_GEOMETRY_PRECOMPILE asks for it. It shortens a build that begins with nothing. Builds whose objects are kept do
# without: a source that forgets an include must not compile.
function(cg_precompile target)
  if(CORE_GEOMETRY_PRECOMPILE)
    target_precompile_headers(${target} PRIVATE <algorithm> <array> <charconv> <cmath> <cstring> <filesystem> <functional>
      <limits> <map> <memory> <numeric> <optional> <set> <span> <string> <vector>)
  endif()
endfunction()

# cg_layer(<name> SOURCES <files> [PUBLIC_HEADERS <files>] [INCLUDE <dirs>] [FOLDERS <dirs>] [USES <layers>] [LINK <targets>])
#
# One object library per layer. USES lists the layers it may include headers of; that list is the whole
# include path. A module's public headers all stand in include/CoreGeometry/; each layer sees only its own
# and those of the layers it uses, through a folder of links in the build tree. FOLDERS are rooms of the
# layer, whose headers all its sources see and nobody else.
function(cg_layer name)
  cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC_HEADERS;INCLUDE;FOLDERS;USES;LINK" ${ARGN})
  add_library(${name} OBJECT ${ARG_SOURCES})
  set_property(GLOBAL APPEND PROPERTY CG_LAYERS ${name})
  target_compile_features(${name} PUBLIC cxx_std_20)
  cg_precompile(${name})
  # exported functions are inlined and called directly within the library, as nobody replaces them
  target_compile_options(${name} PRIVATE -ffp-contract=off -fno-semantic-interposition)
  set_target_properties(${name} PROPERTIES POSITION_INDEPENDENT_CODE ON CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  foreach(dir IN LISTS ARG_FOLDERS)
    target_include_directories(${name} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/${dir})
  endforeach()
  foreach(dir IN LISTS ARG_INCLUDE)
    target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR}/${dir})
    set_property(GLOBAL APPEND PROPERTY CG_INCLUDE_DIRS ${CMAKE_CURRENT_SOURCE_DIR}/${dir})
  endforeach()
  if(ARG_PUBLIC_HEADERS)
    set(links ${PROJECT_BINARY_DIR}/layers/${name})
    file(REMOVE_RECURSE ${links})
    file(MAKE_DIRECTORY ${links}/CoreGeometry)
    foreach(header IN LISTS ARG_PUBLIC_HEADERS)
      set(source ${PROJECT_SOURCE_DIR}/include/CoreGeometry/${header})
      if(NOT EXISTS ${source})
        message(FATAL_ERROR "layer ${name}: public header ${source} does not exist")
      endif()
      file(CREATE_LINK ${source} ${links}/CoreGeometry/${header} SYMBOLIC)
      set_property(GLOBAL APPEND PROPERTY CG_PUBLIC_HEADERS ${header})
    endforeach()
    target_include_directories(${name} PUBLIC ${links})
  endif()
  foreach(used IN LISTS ARG_USES)
    if(NOT TARGET ${used})
      message(FATAL_ERROR "layer ${name} uses ${used}, which is not below it")
    endif()
    target_include_directories(${name} PUBLIC $<TARGET_PROPERTY:${used},INTERFACE_INCLUDE_DIRECTORIES>)
  endforeach()
  target_link_libraries(${name} PRIVATE ${ARG_LINK})
endfunction()

# While the version is 0.x every minor one may break what was linked before, and the CMake package refuses it.
set(CG_SOVERSION ${PROJECT_VERSION_MAJOR})
if(PROJECT_VERSION_MAJOR EQUAL 0)
  string(APPEND CG_SOVERSION .${PROJECT_VERSION_MINOR})
endif()

# cg_library(<target> EXPORT_AS <name> LAYERS <layers> LINK <targets>): shared or static, as BUILD_SHARED_LIBS says
function(cg_library target)
  cmake_parse_arguments(ARG "" "EXPORT_AS" "LAYERS;LINK" ${ARGN})
  add_library(${target})
  add_library(CoreGeometry::${ARG_EXPORT_AS} ALIAS ${target})
  set_target_properties(${target} PROPERTIES SOVERSION ${CG_SOVERSION}
    INSTALL_RPATH "$ORIGIN" EXPORT_NAME ${ARG_EXPORT_AS} LINKER_LANGUAGE CXX)
  if(NOT SKBUILD) # a wheel has no symbolic links: there the file has the name by which it is loaded
    set_target_properties(${target} PROPERTIES VERSION ${PROJECT_VERSION})
  endif()
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_link_options(${target} PRIVATE -Wl,-Bsymbolic-functions)
  foreach(layer IN LISTS ARG_LAYERS)
    target_sources(${target} PRIVATE $<TARGET_OBJECTS:${layer}>)
    target_include_directories(${target} PUBLIC
      $<BUILD_INTERFACE:$<TARGET_PROPERTY:${layer},INTERFACE_INCLUDE_DIRECTORIES>>)
  endforeach()
  foreach(library IN LISTS ARG_LINK)
    if(library MATCHES "^CoreGeometry")
      target_link_libraries(${target} PUBLIC ${library})
    else()
      target_link_libraries(${target} PRIVATE ${library})
    endif()
  endforeach()
  # Platform and CoreGeometry are one package; each other library is a component with a set of targets of its own
  set(part "")
  set(runtime Library)
  if(NOT ARG_EXPORT_AS MATCHES "^(Platform|CoreGeometry)$")
    set(part ${ARG_EXPORT_AS})
    set(runtime ${ARG_EXPORT_AS})
    set_property(GLOBAL APPEND PROPERTY CG_COMPONENTS ${part})
  endif()
  set_property(GLOBAL APPEND PROPERTY CG_LINK_${part} ${ARG_LINK})
  if(CORE_GEOMETRY_INSTALL)
    install(TARGETS ${target} EXPORT CoreGeometry${part}Targets
      LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${runtime} NAMELINK_COMPONENT Development
      ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Development
      INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/coregeometry)
  endif()
endfunction()
