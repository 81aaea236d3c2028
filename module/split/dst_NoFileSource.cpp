// of a library that is built without the component Exchange
#include <BasicUtils/nex_Exception.h>
#include <CoreGeometry/dst_FileSource.h>

std::unique_ptr<dst_Source> dst_FileSource(const cow_String& file, const dst_FileOptions& /*options*/) {
  throw nex_TextException(file
                          + ": this build has no component Exchange, which reads files of other programs "
                            "(CORE_GEOMETRY_EXCHANGE)");
}
