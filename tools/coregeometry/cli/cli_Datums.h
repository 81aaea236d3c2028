// cli_Datums.h: datums of a model file, in containers and as roots of their own
#pragma once

#include "cli_Model.h"
#include <CoreGeometry/bme_RegenerateDatums.h>
#include <CoreGeometry/dtu_DatumContainer.h>

struct cli_Datum {
  cow_String root; ///< of its container, or its own
  cow_String name; ///< in its container, or the root without "datums/"
  int id = 0;      ///< in its container; 0 for a root of its own
  cow_CountedHld<dtu_Datum> datum;

  cow_String Path() const { return id == 0 ? root : root + "/" + name; }
};

/// Every datum of the model in placed space, by root and identifier; with a mesh, those of its container and those that are
/// roots of their own. `meshes` is the model that has the meshes, when that is another one.
std::vector<cli_Datum> cli_Datums(const cls_Database& model, const cow_String& meshRoot = {},
                                  const cls_Database* meshes = nullptr);

cow_String cli_DatumRoot(const cow_String& meshRoot); ///< of the container of that mesh: "datums/<mesh>"

void cli_AddFrameOption(cli_Command command, std::string& csys); ///< --csys, of what is measured
/// The axes of the datum that the user calls `name`, or none when that is empty: the rigid transform from them to placed
/// space. Throws nex_TextException naming `file` and a datum without axes.
gsl_Matrix cli_FrameOf(const cls_Database& model, const std::vector<cli_Datum>& datums,
                       const cow_String& name, const cow_String& file);

/// Of these datums the one that the user calls `name`: its name, or its path with or without "datums/". Throws
/// nex_TextException naming the file and those that there are; `what` is what they are, as "datum".
const cli_Datum& cli_ChooseDatum(const cls_Database& model, const std::vector<cli_Datum>& datums,
                                 const cow_String& name, const cow_String& what);

cow_String cli_KindText(const dtu_Datum& datum); ///< "cylindrical system", "plane"

/// Its kind and geometry as named triples, and the labels of the nodes that it follows.
cli_Json cli_DatumFacts(const dtu_Datum& datum);
