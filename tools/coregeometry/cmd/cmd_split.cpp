// coregeometry split: one mesh in many model files
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Model.h"
#include "cli_Split.h"
#include "cli_Words.h"

#include <CoreGeometry/dst_FileSource.h>
#include <CoreGeometry/dst_Split.h>
#include <CoreGeometry/dst_SplitFolder.h>
#include <charconv>
#include <filesystem>
#include <iostream>
#include <optional>

namespace fs = std::filesystem;

namespace {
struct Arguments {
  std::string file, name, output, method = "auto", weights = "elements", memory, offset;
  int parts = 0, chunks = 0, seed = 0;
  bool dryRun = false, force = false, json = false;
};

/// "4G" in bytes.
std::size_t Bytes(const std::string& text) {
  if (text.empty()) return 0;
  double number = 0;
  const char* const last = text.data() + text.size();
  const auto read = std::from_chars(text.data(), last, number);
  const std::string_view unit(read.ptr, static_cast<std::size_t>(last - read.ptr));
  const int shift = unit == "K"    ? 10
                    : unit == "M"  ? 20
                    : unit == "G"  ? 30
                    : unit == "T"  ? 40
                    : unit.empty() ? 0
                                   : -1;
  const double bytes = number * static_cast<double>(1ULL << std::max(0, shift));
  if (read.ec != std::errc() || shift < 0 || !(bytes >= 1 && bytes < 1e18))
    throw cli_UsageError("--memory " + text + ": is not a size such as 512M or 4G");
  return static_cast<std::size_t>(bytes);
}

dst_Method MethodOf(const std::string& word) {
  return word == "metis" ? dst_Method::Metis : word == "curve" ? dst_Method::Curve : dst_Method::Auto;
}

/// What is split, with the model that it is in.
struct Source {
  std::optional<cls_Database> model;
  std::unique_ptr<dst_Source> mesh;
};

Source Open(const Arguments& arguments) {
  Source source;
  if (cli_IsSplit(arguments.file)) {
    source.mesh = dst_SplitSource(dst_SplitFolder(arguments.file), arguments.output + ".source");
    return source;
  }
  if (fs::path(arguments.file).extension() == ".cgdb") {
    source.model.emplace(cli_OpenModel(arguments.file));
    if (source.model->IsOutdated()) source.model.emplace(source.model->Converted());
    source.mesh = dst_ModelSource(*source.model, cli_ChooseMesh(*source.model, arguments.name));
    return source;
  }
  dst_FileOptions options{
      .mesh = arguments.name, .workFolder = arguments.output + ".source", .acceptDamage = arguments.force};
  cli_SetOffset(arguments.offset, options.offset, options.chooseOffset);
  source.mesh = dst_FileSource(arguments.file, options);
  return source;
}

cli_Json ReportJson(const Arguments& arguments, const dst_SplitReport& report) {
  return {{"file", arguments.file},
          {"folder", arguments.output},
          {"parts", report.index.NumParts()},
          {"method", arguments.method},
          {"chunks", report.numChunks},
          {"nodes", report.index.NumNodes()},
          {"elements", report.index.NumElements()},
          {"balance", report.balance},
          {"copies", report.copies},
          {"mostNeighbours", report.mostNeighbours},
          {"pieces", report.numPieces},
          {"kept", report.numKept},
          {"seconds",
           {{"survey", report.seconds.survey},
            {"curve", report.seconds.curve},
            {"graph", report.seconds.graph},
            {"metis", report.seconds.metis},
            {"parts", report.seconds.parts}}}};
}

void Run(Arguments arguments) {
  if (arguments.output.empty() && cli_IsSplit(arguments.file))
    throw cli_UsageError("-o is required: where shall the parts of " + arguments.file + " go?");
  if (arguments.output.empty()) {
    const auto files = dst_FindPartFiles(arguments.file);
    arguments.output =
        fs::path(std::string(files ? files->name : arguments.file)).replace_extension(".split").string();
  }
  const dst_SplitOptions options{.parts = static_cast<unsigned>(arguments.parts),
                                 .method = MethodOf(arguments.method),
                                 .chunks = static_cast<unsigned>(arguments.chunks),
                                 .weightNodes = arguments.weights == "nodes",
                                 .seed = arguments.seed,
                                 .memory = Bytes(arguments.memory),
                                 .doForce = arguments.force};
  cli_Console console;
  const auto library = cli_StartSplits();
  console.Begin("reading " + arguments.file);
  const Source source = Open(arguments);
  const dst_SourceFacts& facts = source.mesh->Facts();
  if (arguments.dryRun) {
    console.End();
    const dst_SplitPlan plan = dst_PlanOf(*source.mesh, options);
    if (arguments.json)
      return cli_PrintJson({{"file", arguments.file},
                            {"folder", arguments.output},
                            {"parts", plan.numParts},
                            {"chunks", plan.numChunks},
                            {"nodes", facts.numNodes},
                            {"elements", facts.NumElements()},
                            {"memory", plan.memory},
                            {"space", plan.space},
                            {"leftOut", facts.leftOut},
                            {"warnings", facts.warnings}});
    cli_Out() << arguments.output << " would have " << plan.numParts << " parts of "
              << facts.NumElements() / plan.numParts << " elements; it takes " << (plan.memory >> 20)
              << " MiB of memory and up to " << (plan.space >> 20) << " MiB on the disk meanwhile\n";
    return;
  }
  console.Begin("splitting " + facts.mesh);
  const dst_SplitReport report = dst_Split(*source.mesh, arguments.output, options);
  console.End();
  if (arguments.json) {
    cli_Json json = ReportJson(arguments, report);
    json["leftOut"] = facts.leftOut;
    json["warnings"] = facts.warnings;
    return cli_PrintJson(json);
  }
  for (const cow_String& one : facts.warnings) cli_Out(std::cerr) << "coregeometry: " << one << '\n';
  for (const cow_String& one : facts.leftOut) cli_Report() << "not in the split: " << one << '\n';
  cli_Report() << arguments.output << ": " << report.index.NumParts() << " parts of "
               << report.index.NumElements() << " elements, largest " << report.balance << " times the mean, "
               << 100 * report.copies << " % copies of nodes, up to " << report.mostNeighbours
               << " neighbours\n";
  if (report.numKept > 0) cli_Report() << report.numKept << " parts of an earlier run were kept\n";
}
} // namespace

void cli_AddSplit(cli_Command& program) {
  cli_Command command = program.AddCommand("split", "Split a mesh into parts, each a model file");
  auto arguments = std::make_shared<Arguments>();
  command.AddOption("MODEL", arguments->file, "Model file (.cgdb), a split, or a mesh file that import reads")
      .Required();
  command
      .AddOption("-n,--parts", arguments->parts,
                 "Number of parts; default: parts of up to 4 million elements")
      .Between(1, 2147483647);
  command.AddOption("-o,--output", arguments->output, "Folder that is made; default: the name with .split");
  command
      .AddOption("--method", arguments->method, "Curve and METIS, METIS on all elements, or the curve alone")
      .OneOf({"auto", "metis", "curve"})
      .ShowDefault();
  command.AddOption("--chunks", arguments->chunks, "Chunks that METIS cuts one after the other, for auto")
      .Between(1, 2147483647);
  command.AddOption("--memory", arguments->memory,
                    "Memory to use, such as 512M or 4G; default: a quarter of all");
  command.AddOption("--weights", arguments->weights, "What all parts have the same number of")
      .OneOf({"elements", "nodes"})
      .ShowDefault();
  command.AddOption("--name", arguments->name, "Name of the mesh, when the model has several");
  command.AddOption("--seed", arguments->seed, "Seed of METIS").ShowDefault();
  command
      .AddOption(
          "--offset", arguments->offset,
          "Keep coordinates of a mesh file from X,Y,Z, or from a point near the first nodes (auto), as "
          "import does")
      .TypeName("X,Y,Z|auto");
  command.AddFlag("--dry-run", arguments->dryRun, "Say what would be made and what it takes");
  command.AddFlag(
      "--force", arguments->force,
      "Replace a split of another source or with other options. Also accept elements of a mesh file that "
      "single precision collapses or turns inside out");
  command.AddFlag("--json", arguments->json, "Print the facts as JSON");
  command.Footer(
      "Each part is a model file with the same classes and sets; index.cgdb says how they fit. A run that "
      "was\n"
      "stopped goes on when it is given again; parts that are missing are made again in the same way. Other\n"
      "commands take the folder in place of a model; \"join\" makes the model of it again. Results go with\n"
      "their mesh. An Exodus II file is read in ranges and gives the split of the model that import makes.\n"
      "One of the files NAME.N.RANK, a file for each part, means all N.\n"
      "\n"
      "Example: 8 parts, in bracket.split\n"
      "  coregeometry split bracket.cgdb -n 8");
  command.OnRun([arguments] { Run(*arguments); });
}
