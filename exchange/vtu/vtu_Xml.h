// vtu_Xml.h: XML files of VTK, element by element
#pragma once

#include "vtu_Grid.h"
#include <functional>
#include <map>

/// One element as it begins.
struct vtu_Element {
  std::string_view name;
  std::map<std::string_view, std::string_view> attributes;
  cow_String place;              ///< "line 12"
  std::int64_t contentBegin = 0; ///< byte of the file

  std::string_view Attribute(std::string_view attribute) const; ///< empty when there is none
};

/// Tells of each element as it begins and ends, in constant memory. Stops before the bytes of AppendedData.
///
/// Errors     nex_TextException naming file, line and what is wrong with the XML; document types are refused.
struct vtu_XmlHandler {
  std::function<void(const vtu_Element&)> begin;
  std::function<void(std::string_view name, std::int64_t contentEnd)> end; ///< or where a first child begins
};
void vtu_ParseXml(const cow_String& file, const vtu_XmlHandler& handler);
