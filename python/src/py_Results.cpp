// Runs: what they hold, and values with their places as arrays.
#include "py_Results.h"

#include <CoreGeometry/odiC_Invariant.h>
#include <CoreGeometry/odiC_OverFrames.h>
#include <limits>

namespace {
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

nb::dict VariableOf(const odiC_Variable& variable) {
  nb::dict made;
  made["name"] = variable.name;
  made["description"] = variable.description;
  made["unit"] = variable.unit;
  made["type"] = py_TextOf(variable.dataType);
  nb::list components, invariants;
  for (int i = 0; i < variable.NumComponents(); ++i) components.append(variable.ComponentName(i));
  for (const res_InvariantEnm invariant : odiC_InvariantsOf(variable))
    invariants.append(py_TextOf(invariant));
  made["components"] = nb::tuple(components);
  made["invariants"] = nb::tuple(invariants);
  made["system"] = py_TextOf(variable.coordSystem);
  made["is_complex"] = variable.IsComplex();
  return made;
}

nb::dict StepOf(const odiC_Step& step) {
  nb::dict made;
  made["name"] = step.name;
  made["description"] = step.description;
  made["kind"] = py_TextOf(step.kind);
  made["domain"] = py_TextOf(step.domain);
  made["start_time"] = step.startTime;
  made["values"] = py_Array(std::vector<double>(step.values));
  made["increments"] = py_Array(std::vector<int>(step.increments));
  made["modes"] = py_Array(std::vector<int>(step.modes));
  made["descriptions"] = nb::tuple(nb::cast(step.descriptions));
  return made;
}

nb::dict CategoryOf(const odiC_Category& category) {
  nb::dict made;
  made["name"] = category.name;
  made["element_categories"] = nb::tuple(nb::cast(category.elementCategories));
  made["section_points"] = nb::tuple(nb::cast(category.sectionPoints));
  made["offsets"] = nb::tuple(nb::cast(category.offsets));
  return made;
}

nb::dict HeaderOf(const py_OpenRun& self) {
  const odiC_Results& header = self.run.Header();
  nb::dict made;
  for (const auto& [name, text] : {std::pair{"name", &header.name},
                                   {"description", &header.description},
                                   {"mesh_root", &header.meshRoot},
                                   {"program", &header.program},
                                   {"units", &header.units}})
    made[name] = *text;
  made["time_stamp"] = header.timeStamp;
  nb::list steps, variables, categories;
  for (const odiC_Step& step : header.steps) steps.append(StepOf(step));
  for (const odiC_Variable& variable : header.variables) variables.append(VariableOf(variable));
  for (const odiC_Category& category : header.categories) categories.append(CategoryOf(category));
  made["steps"] = steps;
  made["variables"] = variables;
  made["categories"] = categories;
  return made;
}

nb::list HistoriesOf(const py_OpenRun& self) {
  std::vector<std::pair<int, odiC_History>> all;
  py_UseRun(self, [&](const odiC_Run& run) {
    for (int step = 0; std::cmp_less(step, run.Header().steps.size()); ++step)
      for (int i = 0; i < run.Header().steps[static_cast<std::size_t>(step)].numHistories; ++i)
        all.emplace_back(step, run.History(step, i));
  });
  nb::list list;
  for (auto& [step, history] : all) {
    const odiC_PlaceLabel place{.position = history.position,
                                .label = history.label,
                                .point = history.point,
                                .sectionPoint = {},
                                .region = history.region};
    list.append(nb::make_tuple(history.name, self.run.Header().steps[static_cast<std::size_t>(step)].name,
                               place.Text(), py_Array(std::move(history.domainValues)),
                               py_Array(std::move(history.values))));
  }
  return list;
}

int FirstElementOf(const bme_Mesh& mesh, const odiC_LayoutBlock& block) {
  return mesh.ElementData().GetClass(static_cast<unsigned>(block.classIndex)).FirstElementIndex();
}

/// Values row by row with what they are values of.
struct Rows {
  std::vector<double> doubles;
  std::vector<float> floats; ///< in their place, when nothing was computed of such numbers
  std::size_t width = 1;
  std::vector<int> label, index, point, block;
  std::vector<int> frame; ///< of an envelope
  std::vector<odiC_LayoutBlock> blocks;
  std::vector<cow_String> types, sectionPoints; ///< of blocks
};

void AddPlace(const bme_Mesh& mesh, const odiC_LayoutBlock& block, int row, Rows& rows) {
  const int at = (row - block.firstRow) / block.valuesPerEntity;
  const odiC_Place place{.block = 0,
                         .at = at,
                         .entity = block.Entity(at),
                         .point = (row - block.firstRow) % block.valuesPerEntity};
  const odiC_PlaceLabel label = odiC_LabelOf(mesh, block, place);
  rows.label.push_back(label.label);
  rows.point.push_back(label.point);
  rows.index.push_back(block.IsNodal()         ? place.entity
                       : block.classIndex >= 0 ? FirstElementOf(mesh, block) + place.entity
                                               : -1);
}

Rows RowsOf(const odiC_Run& run, odiC_Source& source, bool areFloats, const std::vector<int>* frames) {
  const bme_Mesh& mesh = run.Mesh();
  Rows rows;
  rows.width = static_cast<std::size_t>(source.NumComponents());
  rows.blocks = source.Layout().blocks;
  for (const odiC_LayoutBlock& block : rows.blocks) {
    rows.types.push_back(
        block.classIndex < 0
            ? cow_String()
            : mesh.ElementData().GetClass(static_cast<unsigned>(block.classIndex)).ElemTypeLabel());
    rows.sectionPoints.push_back(odiC_SectionPointName(run, block));
  }
  const auto count = static_cast<std::size_t>(source.Places().NumRows());
  areFloats ? rows.floats.reserve(count * rows.width) : rows.doubles.reserve(count * rows.width);
  for (std::vector<int>* column : {&rows.label, &rows.index, &rows.point, &rows.block})
    column->reserve(count);
  odiC_ForEachRange(source, [&](const odiC_Range& range) {
    const auto block = static_cast<int>(&range.block - source.Layout().blocks.data());
    for (const odiC_RowRun& part : range.rows) {
      const auto values =
          range.values.subspan(static_cast<std::size_t>(part.first - range.firstRow) * rows.width,
                               static_cast<std::size_t>(part.count) * rows.width);
      if (areFloats)
        for (const double value : values) rows.floats.push_back(static_cast<float>(value));
      else
        rows.doubles.insert(rows.doubles.end(), values.begin(), values.end());
      for (int row = part.first; row < part.End(); ++row) {
        AddPlace(mesh, range.block, row, rows);
        rows.block.push_back(block);
        if (frames) rows.frame.push_back((*frames)[static_cast<std::size_t>(row)]);
      }
    }
  });
  return rows;
}

bool AreFloats(const py_Asked& asked, const odiC_When& when) {
  return asked.IsStored() && when.next < 0
         && asked.Run().Field(when.step, when.frame, asked.Values("values").VariableIndex()).Storage()
                == res_STORAGE_FLOAT;
}

nb::dict DictOf(Rows rows, const std::vector<cow_String>& components) {
  const std::size_t count = rows.label.size();
  nb::dict made;
  made["values"] = rows.floats.empty() ? py_Array(std::move(rows.doubles), {count, rows.width})
                                       : py_Array(std::move(rows.floats), {count, rows.width});
  made["components"] = nb::tuple(nb::cast(components));
  made["label"] = py_Array(std::move(rows.label));
  made["index"] = py_Array(std::move(rows.index));
  made["point"] = py_Array(std::move(rows.point));
  made["block"] = py_Array(std::move(rows.block));
  nb::list blocks;
  for (std::size_t i = 0; i < rows.blocks.size(); ++i) {
    const odiC_LayoutBlock& block = rows.blocks[i];
    nb::dict one;
    one["position"] = py_TextOf(block.position);
    one["mesh_block"] = block.classIndex;
    one["type"] = rows.types[i];
    one["section_point"] = rows.sectionPoints[i];
    one["region"] = block.region;
    blocks.append(one);
  }
  made["blocks"] = blocks;
  if (!rows.frame.empty()) made["frame"] = py_Array(std::move(rows.frame));
  return made;
}

nb::list Frames(const py_OpenRun& self, const py_Field& field) {
  nb::list list;
  for (const odiC_When& when :
       py_UseRun(self, [&](const odiC_Run& run) { return py_Asked(run, field).Frames(); }))
    list.append(py_WhenOf(self.run, when));
  return list;
}

const odiC_When& FrameAt(const std::vector<odiC_When>& frames, int frame) {
  if (frame < 0 || std::cmp_greater_equal(frame, frames.size()))
    throw py_Error("IndexError", "frame " + std::to_string(frame) + " of the " + std::to_string(frames.size())
                                     + " that are meant");
  return frames[static_cast<std::size_t>(frame)];
}

/// The frame of that position among those that are meant.
nb::dict Gather(const py_OpenRun& self, const py_Field& field, int frame) {
  std::vector<cow_String> components;
  Rows rows = py_UseRun(self, [&](const odiC_Run& run) {
    const py_Asked asked(run, field);
    components = asked.Components();
    const std::vector<odiC_When> frames = asked.Frames();
    const odiC_When& when = FrameAt(frames, frame);
    const odiC_SourcePointer source = asked.Open(when);
    return RowsOf(run, *source, AreFloats(asked, when), nullptr);
  });
  return DictOf(std::move(rows), components);
}

/// Some of the rows of a source.
class Part final : public odiC_Source {
public:
  Part(odiC_Source& whole, odiC_Places places)
      : odiC_Source(std::move(places), whole.NumComponents()), whole_(&whole) {}
  void Read(int firstRow, std::span<double> values) override { whole_->Read(firstRow, values); }
  int SectionPointOf(int row) override { return whole_->SectionPointOf(row); }

private:
  odiC_Source* whole_;
};

/// Reads the values of a frame some rows at a time.
struct Reader {
  py_OpenRun open;
  std::optional<py_Asked> asked;
  std::vector<cow_String> components;
  odiC_SourcePointer source;
  bool areFloats = false;
  std::size_t run = 0; ///< of the places
  int row = 0;         ///< the next one of the layout
};

std::unique_ptr<Reader> MakeReader(const py_OpenRun& self, const py_Field& field, int frame) {
  auto made = std::make_unique<Reader>(Reader{self, {}, {}, {}, false, 0, 0});
  py_UseRun(made->open, [&](const odiC_Run& run) {
    made->asked.emplace(run, field);
    made->components = made->asked->Components();
    const std::vector<odiC_When> frames = made->asked->Frames();
    const odiC_When& when = FrameAt(frames, frame);
    made->source = made->asked->Open(when);
    made->areFloats = AreFloats(*made->asked, when);
  });
  return made;
}

nb::object ReadNext(Reader& self, int mostRows) {
  const std::span<const odiC_RowRun> runs = self.source->Places().Runs();
  odiC_Places places(self.source->Places().SharedLayout());
  while (self.run < runs.size() && places.NumRows() < mostRows) {
    const int first = std::max(self.row, runs[self.run].first);
    const int count = std::min(runs[self.run].End() - first, mostRows - static_cast<int>(places.NumRows()));
    places.Add(first, count);
    self.row = first + count;
    if (self.row == runs[self.run].End()) ++self.run;
  }
  if (places.IsEmpty()) return nb::none();
  Rows rows = py_UseRun(self.open, [&](const odiC_Run& run) {
    Part part(*self.source, std::move(places));
    return RowsOf(run, part, self.areFloats, nullptr);
  });
  return DictOf(std::move(rows), self.components);
}

/// (entities of the mesh, components), not a number where there is none.
nb::object Dense(const py_OpenRun& self, const py_Field& field, int frame, const std::string& by) {
  const bool isByNode = by == "node";
  std::size_t width = 1, count = 0;
  std::vector<double> values = py_UseRun(self, [&](const odiC_Run& run) {
    const py_Asked asked(run, field);
    const std::vector<odiC_When> frames = asked.Frames();
    const odiC_SourcePointer source = asked.Open(FrameAt(frames, frame), res_USE_ENVELOPE);
    const bme_Mesh& mesh = run.Mesh();
    width = static_cast<std::size_t>(source->NumComponents());
    count = isByNode ? mesh.NodeData().NumNodes() : mesh.ElementData().NumElements();
    std::vector<double> dense(count * width, kNaN);
    std::vector<char> isSet(count, 0);
    odiC_ForEachRange(*source, [&](const odiC_Range& range) {
      const odiC_LayoutBlock& block = range.block;
      if (block.IsNodal() != isByNode || (!isByNode && block.classIndex < 0))
        throw py_Error("ValueError", "the values are not at " + by + "s: " + py_TextOf(block.position));
      const int first = isByNode ? 0 : FirstElementOf(mesh, block);
      for (const odiC_RowRun& part : range.rows)
        for (int row = part.first; row < part.End(); ++row) {
          const int entity = block.Entity((row - block.firstRow) / block.valuesPerEntity);
          const std::size_t at = static_cast<std::size_t>(first) + static_cast<std::size_t>(entity);
          if (isSet[at] != 0)
            throw py_Error("ValueError",
                           "a " + by + " has several values; "
                               + (isByNode
                                      ? "average them with borders=\"none\", normals=0, or choose a region"
                                      : "carry them to centroids, or choose points"));
          isSet[at] = 1;
          std::copy_n(range.values.begin()
                          + static_cast<std::ptrdiff_t>(row - range.firstRow)
                                * static_cast<std::ptrdiff_t>(width),
                      width, dense.begin() + static_cast<std::ptrdiff_t>(at * width));
        }
    });
    return dense;
  });
  return py_Array(std::move(values), {count, width});
}

/// Frame by frame the rows of the first frame.
nb::tuple Series(const py_OpenRun& self, const py_Field& field) {
  std::vector<double> values;
  std::vector<odiC_When> frames;
  std::vector<cow_String> components;
  Rows places = py_UseRun(self, [&](const odiC_Run& run) {
    const py_Asked asked(run, field);
    components = asked.Components();
    frames = asked.Frames();
    if (frames.empty()) return Rows();
    const odiC_SourcePointer first = asked.Open(frames.front());
    const odiC_Places wanted = first->Places();
    Rows rows = RowsOf(run, *first, false, nullptr);
    values.assign(frames.size() * rows.doubles.size(), kNaN);
    for (std::size_t i = 0; i < frames.size(); ++i) {
      const odiC_SourcePointer source = odiC_OnLayout(asked.Open(frames[i]), wanted.SharedLayout());
      std::size_t before = 0, run0 = 0;
      odiC_ForEachRange(*source, [&](const odiC_Range& range) {
        for (const odiC_RowRun& part : range.rows)
          for (int row = part.first; row < part.End(); ++row) {
            while (run0 < wanted.Runs().size() && wanted.Runs()[run0].End() <= row)
              before += static_cast<std::size_t>(wanted.Runs()[run0++].count);
            if (run0 == wanted.Runs().size() || row < wanted.Runs()[run0].first) continue;
            const std::size_t to = before + static_cast<std::size_t>(row - wanted.Runs()[run0].first);
            std::copy_n(range.values.begin()
                            + static_cast<std::ptrdiff_t>(static_cast<std::size_t>(row - range.firstRow)
                                                          * rows.width),
                        rows.width,
                        values.begin()
                            + static_cast<std::ptrdiff_t>(i * rows.doubles.size() + to * rows.width));
          }
      });
    }
    return rows;
  });
  nb::list whens;
  for (const odiC_When& when : frames) whens.append(py_WhenOf(self.run, when));
  const std::size_t count = places.label.size(), width = places.width;
  return nb::make_tuple(whens, py_Array(std::move(values), {frames.size(), count, width}),
                        DictOf(std::move(places), components));
}

nb::dict Over(const py_OpenRun& self, const py_Field& field, const std::string& kind) {
  const auto which = py_Choose<odiC_OverFrames>("kind", kind,
                                                {{"max", odiC_OverFrames::Max},
                                                 {"min", odiC_OverFrames::Min},
                                                 {"absmax", odiC_OverFrames::AbsMax},
                                                 {"range", odiC_OverFrames::Range},
                                                 {"mean", odiC_OverFrames::Mean},
                                                 {"rms", odiC_OverFrames::Rms}});
  std::vector<odiC_When> frames;
  Rows rows = py_UseRun(self, [&](const odiC_Run& run) {
    const py_Asked asked(run, field);
    odiC_FramesResult result = odiC_Over(asked.Values("an envelope"), which);
    frames = result.frames;
    return RowsOf(run, *result.values, false, &result.frameOf);
  });
  nb::dict made = DictOf(std::move(rows), {cow_String()});
  nb::list whens;
  for (const odiC_When& when : frames) whens.append(py_WhenOf(self.run, when));
  made["frames"] = whens;
  return made;
}
} // namespace

nb::dict py_WhenOf(const odiC_Run& run, const odiC_When& when) {
  nb::dict made;
  made["step"] = run.Header().steps[static_cast<std::size_t>(when.step)].name;
  made["frame"] = when.frame;
  made["value"] = when.value;
  return made;
}

void py_BindResults(nb::module_& module) {
  nb::class_<Reader>(module, "FieldReader")
      .def("next", &ReadNext, nb::arg("most_rows"),
           nb::sig("def next(self, most_rows: int) -> dict[str, typing.Any] | None"));
  nb::class_<py_OpenRun>(module, "Run")
      .def("header", &HeaderOf, nb::sig("def header(self) -> dict[str, typing.Any]"))
      .def("mesh",
           [](const py_OpenRun& self) {
             return py_UseRun(self, [](const odiC_Run& run) { return py_Mesh(run.Mesh()); });
           })
      .def("histories", &HistoriesOf, nb::sig("def histories(self) -> list[tuple[typing.Any, ...]]"))
      .def("frames", &Frames, nb::arg("field"),
           nb::sig("def frames(self, field: FieldChoice) -> list[dict[str, typing.Any]]"))
      .def(
          "components",
          [](const py_OpenRun& self, const py_Field& field) {
            return py_UseRun(self, [&](const odiC_Run& run) { return py_Asked(run, field).Components(); });
          },
          nb::arg("field"))
      .def(
          "describe",
          [](const py_OpenRun& self, const py_Field& field) {
            return py_UseRun(self, [&](const odiC_Run& run) {
              const py_Asked asked(run, field);
              return asked.Values("a text").Text();
            });
          },
          nb::arg("field"))
      .def("gather", &Gather, nb::arg("field"), nb::arg("frame"),
           nb::sig("def gather(self, field: FieldChoice, frame: int) -> dict[str, typing.Any]"))
      .def("read", &MakeReader, nb::arg("field"), nb::arg("frame"))
      .def("dense", &Dense, nb::arg("field"), nb::arg("frame"), nb::arg("by"), nb::rv_policy::automatic,
           nb::sig("def dense(self, field: FieldChoice, frame: int, by: str) -> "
                   "numpy.typing.NDArray[numpy.float64]"))
      .def("series", &Series, nb::arg("field"),
           nb::sig("def series(self, field: FieldChoice) -> tuple[list[dict[str, typing.Any]], "
                   "numpy.typing.NDArray[numpy.float64], dict[str, typing.Any]]"))
      .def("over", &Over, nb::arg("field"), nb::arg("kind"),
           nb::sig("def over(self, field: FieldChoice, kind: str) -> dict[str, typing.Any]"));
  module.def(
      "open_run",
      [](const std::shared_ptr<py_Database>& model, const std::string& root) {
        return py_UseModel(*model, [&](const cls_Database& database) {
          return py_OpenRun{model, odiC_Run::Open(database, root)};
        });
      },
      nb::arg("model"), nb::arg("root"));
}
