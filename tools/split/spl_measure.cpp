// measure of a split model: lengths, areas, volumes, masses and inertia
#include "cli_Datums.h"
#include "cli_Measures.h"
#include "spl_Commands.h"
#include "spl_Split.h"

#include <CoreGeometry/dst_Measures.h>
#include <memory>

namespace {
struct Arguments : spl_Arguments {
  std::string by, csys;
  cli_MeasureValues values;
};

/// The datums of the whole are in the index, the mesh that they follow in every part.
gsl_Matrix FrameOf(const Arguments& arguments, const spl_Split& split) {
  gsl_Matrix frame;
  split.Exchange().OnEachRank([&] {
    if (arguments.csys.empty()) return;
    const cls_Database beside = split.Folder().OpenIndexFile(), first = split.Folder().OpenPartFile(0);
    frame = cli_FrameOf(beside, cli_Datums(beside, split.Folder().MeshRoot(), &first), arguments.csys,
                        arguments.folder);
  });
  split.Exchange().Agree();
  return frame;
}

void Run(const Arguments& arguments, dst_Exchange& exchange) {
  const spl_Split split(arguments, exchange);
  const bme_MeasureOptions options = arguments.values.For(split.Classes());
  gsl_Matrix frame = FrameOf(arguments, split);
  frame.Concatenate(split.Placement().ToLocal());
  cli_MeasureReport report(arguments.folder, split.Folder().MeshRoot(), frame,
                           static_cast<bool>(options.density), arguments.json);
  for (unsigned c = 0; arguments.by == "class" && c < split.Classes().NumClasses(); ++c) {
    const bme_ElementClass& type = split.Classes().GetClass(c);
    report.Add("class " + std::to_string(c) + ", " + type.ElemTypeLabel() + ", " + type.CategoryLabel(),
               dst_CalculateMeasures(split.Mesh(), dst_Elements::OfClass(c), options));
  }
  if (arguments.by == "set")
    for (const spl_Split::Set& set : split.Sets()) {
      const bme_Measures measures =
          dst_CalculateMeasures(split.Mesh(), dst_Elements::OfSet(set.contents), options);
      if (measures.numElements > 0) report.Add(set.region, measures);
    }
  report.Add("all elements", dst_CalculateMeasures(split.Mesh(), options));
  report.End();
}
} // namespace

void spl_AddMeasure(cli_Command& program, dst_Exchange& exchange) {
  cli_Command command =
      program.AddCommand("measure", "Lengths, areas, volumes, masses and inertia of a split mesh");
  auto arguments = std::make_shared<Arguments>();
  spl_AddOptions(command, *arguments);
  command.AddOption("--by", arguments->by, "Also measure each element class or each set by itself")
      .OneOf({"class", "set"});
  arguments->values.AddTo(command);
  cli_AddFrameOption(command, arguments->csys);
  command.Footer(
      "Every digit is that of `coregeometry measure` on the whole model, for any number of parts and ranks.\n"
      "\n"
      "Example:\n"
      "  coregeometry measure wing.split --by class --density 2700 --thickness 0.002");
  command.OnRun([arguments, &exchange] { Run(*arguments, exchange); });
}
