// Answers about a split mesh are those about the whole one, whatever way the elements were assigned to parts.
#include "PartArrays.h"
#include "SplitMesh.h"

#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_FEMConnect.h>
#include <CoreGeometry/dst_Averages.h>
#include <CoreGeometry/dst_CoincidentNodes.h>
#include <CoreGeometry/dst_CommonFaces.h>
#include <CoreGeometry/dst_Faces.h>
#include <CoreGeometry/dst_Library.h>
#include <CoreGeometry/dst_Locate.h>
#include <CoreGeometry/dst_Measures.h>
#include <CoreGeometry/odiC_Values.h>
#include <CoreGeometry/shp_Shape.h>
#include <ThrownBy.h>
#include <algorithm>
#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <split/RunOfMixedMesh.h>

namespace {
class dst_Answers : public testing::Test {
  const DDB_CoreGeometry library_;
  const dst_Library distributed_;
};

std::vector<std::uint64_t> Bits(std::initializer_list<double> values) {
  std::vector<std::uint64_t> bits;
  for (const double value : values) bits.push_back(std::bit_cast<std::uint64_t>(value));
  return bits;
}

void ExpectSame(const bme_Moments& found, const bme_Moments& expected) {
  EXPECT_EQ(Bits({found.Total(), found.SignedTotal()}), Bits({expected.Total(), expected.SignedTotal()}));
  gsl_Point centre, wanted;
  ASSERT_EQ(found.GetCentre(centre), expected.GetCentre(wanted));
  EXPECT_EQ(Bits({centre[0], centre[1], centre[2]}), Bits({wanted[0], wanted[1], wanted[2]}));
  EXPECT_EQ(found.InertiaAbout({1, 2, 3}), expected.InertiaAbout({1, 2, 3}));
}

void ExpectSame(const bme_Measures& found, const bme_Measures& expected) {
  EXPECT_EQ(found.numElements, expected.numElements);
  for (const auto moments :
       {&bme_Measures::length, &bme_Measures::area, &bme_Measures::volume, &bme_Measures::mass})
    ExpectSame(found.*moments, expected.*moments);
  for (const auto list : {&bme_Measures::inverted, &bme_Measures::zero, &bme_Measures::withoutShape,
                          &bme_Measures::withoutNodes, &bme_Measures::noThickness,
                          &bme_Measures::noSectionArea, &bme_Measures::noDensity, &bme_Measures::noPointMass})
    EXPECT_EQ(found.*list, expected.*list);
}

/// Faces by element number, face and side: those of all parts, ascending.
template<class ListOf>
std::vector<std::uint64_t> FacesOfAll(const dst_Mesh& mesh, dst_Exchange& exchange, ListOf listOf) {
  std::vector<std::vector<std::uint64_t>> own(exchange.MyParts().Count());
  exchange.ForEachPart([&](unsigned part) {
    for (const unsigned word : listOf(part))
      own[part - exchange.MyParts().first].push_back(
          mesh.Part(part).part->ElementNumber(bme_ElementOf(word)) << 6U | bme_MeshOrder(word) % 64);
  });
  std::vector<std::uint64_t> all;
  for (const std::vector<std::uint64_t>& some : exchange.GatherRecords(own))
    all.insert(all.end(), some.begin(), some.end());
  std::ranges::sort(all);
  return all;
}

std::vector<std::uint64_t> FacesOfWhole(const bme_FEMFaceList& faces) {
  std::vector<std::uint64_t> all;
  for (const unsigned word : faces) all.push_back(bme_MeshOrder(word));
  return all;
}

/// Nodes, places between them and far away.
std::vector<double> PointsNear(const bme_Mesh& mesh) {
  std::vector<double> points;
  const std::span<const float> xyz = mesh.NodeData().Coordinates().Const();
  for (std::size_t i = 0; i + 6 <= xyz.size(); i += 3)
    for (std::size_t a = 0; a < 3; ++a) points.push_back(static_cast<double>(xyz[i + a]));
  for (std::size_t i = 0; i + 6 <= xyz.size(); i += 3)
    for (std::size_t a = 0; a < 3; ++a)
      points.push_back(0.3 * static_cast<double>(xyz[i + a]) + 0.7 * static_cast<double>(xyz[i + 3 + a]));
  points.insert(points.end(), {50, -70, 12, 1.5, 1.5, 2.25, -3, 9, 1});
  return points;
}
} // namespace

TEST_F(dst_Answers, BoxAndMeasuresHaveTheSameBits) {
  bme_MeasureOptions options;
  options.thickness = [](const bme_ElementClass& type, int) {
    return type.ClassIndex() % 2 == 0 ? std::optional(0.1) : std::nullopt;
  };
  options.density = [](const bme_ElementClass& type, int) {
    return std::optional(1.0 / (1 + type.ClassIndex()));
  };
  ForEachSplit([&](const dst_Mesh& mesh, const bme_Mesh& whole, dst_Exchange&) {
    EXPECT_EQ(dst_GetBBox(mesh), whole.GetBBox());
    bme_MeasureOptions plain;
    ExpectSame(dst_CalculateMeasures(mesh, plain), bme_CalculateMeasures(whole, plain));
    plain.order = shp_MomentOrder::Measure;
    ExpectSame(dst_CalculateMeasures(mesh, plain), bme_CalculateMeasures(whole, plain));
    ExpectSame(dst_CalculateMeasures(mesh, options), bme_CalculateMeasures(whole, options));
    for (const unsigned c : {0U, 1U, 6U})
      ExpectSame(dst_CalculateMeasures(mesh, dst_Elements::OfClass(c), options),
                 bme_CalculateMeasures(bme_FEMElemList::OfClass(whole, c), options));
    for (const bme_NamedSet& set : MixedSets())
      if (set.name == "elements" || set.name == "skin")
        ExpectSame(dst_CalculateMeasures(mesh, dst_Elements::OfSet("sets/Mixed/" + set.name)),
                   bme_CalculateMeasures(bme_FEMElemList::FromSet(whole, set.data)));
    EXPECT_NE(ThrownBy<nex_TextException>([&] {
                dst_CalculateMeasures(mesh, dst_Elements::OfClass(99));
              }).find("part 0: "),
              cow_String::npos);
  });
}

TEST_F(dst_Answers, FacesAreTheSameSet) {
  const bme_FaceOptions all[] = {
      {.exclude = bme_EXCLUDE_UNSUPPORTED, .wantInterior = true},
      {.exclude = bme_EXCLUDE_UNSUPPORTED, .bothSides = true, .shellsCoverSolids = true},
      {.exclude = bme_EXCLUDE_UNSUPPORTED,
       .matchAllNodes = true,
       .shellsCoverSolids = true,
       .wantInterior = true}};
  ForEachSplit([&](const dst_Mesh& mesh, const bme_Mesh& whole, dst_Exchange& exchange) {
    const auto odd = [](const bme_FEMElemList& of, auto numberOf) {
      std::vector<unsigned> some;
      for (const unsigned element : of)
        if (numberOf(element) % 2 == 1) some.push_back(element);
      return bme_FEMElemList(of.Mesh(), some);
    };
    const bme_FEMElemList every = bme_FEMElemList::All(whole), oddOnes = odd(every, std::identity());
    const dst_Elements oddParts([&](const dst_OpenPart& part) {
      return odd(bme_FEMElemList::All(*part.mesh),
                 [&](unsigned element) { return part.part->ElementNumber(element); });
    });
    for (const bme_FaceOptions& options : all) {
      const dst_FaceSets found = dst_ComputeFaces(mesh, options),
                         ofOdd = dst_ComputeFaces(mesh, oddParts, options);
      const bme_FaceSets expected = *bme_ComputeFaces(every, options),
                         expectedOdd = *bme_ComputeFaces(oddOnes, options);
      EXPECT_GT(expected.shared.Count(), 0U);
      const auto compare = [&](auto list, auto inWhole) {
        EXPECT_EQ(FacesOfAll(mesh, exchange, [&](unsigned part) { return found[part].*list; }),
                  FacesOfWhole(expected.*inWhole));
        EXPECT_EQ(FacesOfAll(mesh, exchange, [&](unsigned part) { return ofOdd[part].*list; }),
                  FacesOfWhole(expectedOdd.*inWhole));
      };
      compare(&dst_FaceWords::external, &bme_FaceSets::external);
      compare(&dst_FaceWords::interior, &bme_FaceSets::interior);
      compare(&dst_FaceWords::shared, &bme_FaceSets::shared);
      compare(&dst_FaceWords::collapsed, &bme_FaceSets::collapsed);
      const auto border = dst_ComputeInterface(mesh, oddParts, dst_Elements::All(), options);
      EXPECT_EQ(FacesOfAll(mesh, exchange, [&](unsigned part) { return border[part]; }),
                FacesOfWhole(*bme_ComputeInterface(oddOnes, every, options)));
    }
    EXPECT_NE(ThrownBy<nex_TextException>([&] { dst_ComputeFaces(mesh); }).find("a type without a shape"),
              cow_String::npos);
  });
}

TEST_F(dst_Answers, DuplicatesAndCoincidentNodesAreTheSameGroups) {
  ForEachSplit([](const dst_Mesh& mesh, const bme_Mesh& whole, dst_Exchange&) {
    std::vector<std::array<std::uint64_t, 2>> expected;
    for (const auto& [first, later] : bme_FindDuplicates(bme_FEMElemList::All(whole)))
      expected.push_back({first, later});
    EXPECT_GE(expected.size(), 7U);
    EXPECT_EQ(dst_FindDuplicates(mesh), expected);
    for (const double tolerance : {0.0, 0.3, 0.8}) {
      std::vector<std::vector<std::uint64_t>> groups;
      const bme_Adjacency inWhole = bme_FindCoincidentNodes(whole.NodeData(), tolerance);
      for (std::size_t i = 0; i < inWhole.Count(); ++i)
        groups.emplace_back(inWhole[i].begin(), inWhole[i].end());
      EXPECT_EQ(dst_FindCoincidentNodes(mesh, tolerance), groups) << tolerance;
    }
    EXPECT_NE(ThrownBy<nex_TextException>([&] { dst_FindCoincidentNodes(mesh, -1); }).find("part 0: "),
              cow_String::npos);
  });
}

TEST_F(dst_Answers, LabelsFindWhatTheWholeMeshFinds) {
  std::vector<int> labels(500);
  std::iota(labels.begin(), labels.end(), -100);
  labels.insert(labels.end(), {10, 10, -9, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()});
  ForEachSplit([&](const dst_Mesh& mesh, const bme_Mesh& whole, dst_Exchange& exchange) {
    const std::vector<dst_Place> nodes = dst_FindNodes(mesh, labels),
                                 elements = dst_FindElements(mesh, labels);
    EXPECT_EQ(dst_FindNodes(mesh, labels, 0), nodes) << "by bucket";
    EXPECT_EQ(dst_FindElements(mesh, labels, 0), elements) << "by bucket";
    std::vector<unsigned> node(labels.size()), element(labels.size());
    whole.NodeData().GetMeshNodeIndices(labels, node);
    whole.ElementData().GetMeshElemIndices(labels, element);
    const auto numberOf = [](unsigned index) { return index == bme_kNotFound ? dst_Place::kNowhere : index; };
    for (std::size_t i = 0; i < labels.size(); ++i) {
      EXPECT_EQ(nodes[i].number, numberOf(node[i])) << "node " << labels[i];
      EXPECT_EQ(elements[i].number, numberOf(element[i])) << "element " << labels[i];
    }
    exchange.ForEachPart([&](unsigned part) {
      for (std::size_t i = 0; i < labels.size(); ++i) {
        if (nodes[i].part == part) {
          EXPECT_EQ(mesh.Part(part).part->NodeNumber(nodes[i].index), nodes[i].number);
        }
        if (elements[i].part == part) {
          EXPECT_EQ(mesh.Part(part).part->ElementNumber(elements[i].index), elements[i].number);
        }
      }
    });
    exchange.Agree();
  });
}

TEST_F(dst_Answers, PointsHaveTheSameOwnersAndIsoCoordinates) {
  ForEachSplit([](const dst_Mesh& mesh, const bme_Mesh& whole, dst_Exchange&) {
    const std::vector<double> points = PointsNear(whole);
    const bme_ElementLocator locator(whole);
    const std::vector<dst_Hit> hits = dst_Locate(mesh, points);
    const std::vector<std::vector<dst_Hit>> all = dst_LocateAll(mesh, points);
    const std::vector<dst_Nearest> nearest = dst_FindNearest(mesh, points);
    const auto numberOf = [](unsigned index) { return index == bme_kNotFound ? dst_Place::kNowhere : index; };
    std::vector<bme_ElementHit> owners;
    std::size_t numHits = 0;
    for (std::size_t i = 0; i < points.size() / 3; ++i) {
      SCOPED_TRACE("point " + std::to_string(i));
      const bme_ElementLocator::Point point{points[3 * i], points[3 * i + 1], points[3 * i + 2]};
      const bme_ElementHit hit = locator.Find(point);
      EXPECT_EQ(hits[i].element.number, numberOf(hit.element));
      EXPECT_EQ(hits[i].location, hit.location);
      EXPECT_EQ(hits[i].iso, hit.iso);
      numHits += static_cast<std::size_t>(shp_IsHeld(hit.location));
      locator.FindAll(point, owners);
      ASSERT_EQ(all[i].size(), owners.size());
      for (std::size_t k = 0; k < owners.size(); ++k) {
        EXPECT_EQ(all[i][k].element.number, owners[k].element);
        EXPECT_EQ(all[i][k].iso, owners[k].iso);
      }
      const bme_NearestElement near = locator.FindNearest(point);
      EXPECT_EQ(nearest[i].element.number, numberOf(near.element));
      EXPECT_EQ(nearest[i].distance, near.distance);
      EXPECT_EQ(nearest[i].iso, near.iso);
    }
    EXPECT_GT(numHits, 20U);
  });
}

TEST_F(dst_Answers, MeansAtNodesAreAddedInTheOrderOfOneProcess) {
  constexpr std::size_t kWidth = 2;
  // of any size, so that another order gives other bits, and sometimes no number
  const auto value = [](std::uint64_t element, std::size_t place, std::size_t component) {
    const std::uint64_t mixed = (element * 64 + place * kWidth + component + 1) * 0x9E3779B97F4A7C15U;
    return mixed % 11 == 0 ? std::nan("")
                           : std::ldexp(static_cast<double>(mixed >> 11U), -static_cast<int>(mixed % 40));
  };
  const auto solids = [](const bme_Mesh& mesh) {
    return bme_FEMElemList::OfClass(mesh, 0)
        .Union(bme_FEMElemList::OfClass(mesh, 1))
        .Union(bme_FEMElemList::OfClass(mesh, 3));
  };
  const auto rows = [&](const bme_FEMElemList& elements, auto numberOf) {
    std::vector<double> all;
    for (const unsigned element : elements) {
      const int numNodes = elements.Mesh().ElementData().GetElemClass(element).NumNodesPerElem();
      for (std::size_t k = 0; k < kWidth * static_cast<std::size_t>(numNodes); ++k)
        all.push_back(value(numberOf(element), k / kWidth, k % kWidth));
    }
    return all;
  };
  const dst_Elements ofParts([&](const dst_OpenPart& part) { return solids(*part.mesh); });
  ForEachSplit([&](const dst_Mesh& mesh, const bme_Mesh& whole, dst_Exchange& exchange) {
    std::vector<std::array<double, kWidth>> sums(whole.NodeData().NumNodes()), counts(sums.size());
    const bme_FEMElemList elements = solids(whole);
    const std::vector<double> ofWhole = rows(elements, std::identity());
    const double* next = ofWhole.data();
    for (const unsigned element : elements) {
      const bme_ElementClass& type = whole.ElementData().GetElemClass(element);
      for (const int node : type.Connectivity(static_cast<int>(element) - type.FirstElementIndex()))
        for (std::size_t c = 0; c < kWidth; ++c, ++next)
          if (!std::isnan(*next)) {
            sums[static_cast<std::size_t>(node)][c] += *next;
            ++counts[static_cast<std::size_t>(node)][c];
          }
    }
    const auto found =
        dst_AverageAtNodes(mesh, ofParts, kWidth, [&](const dst_OpenPart& part, const bme_FEMElemList& some) {
          return rows(some, [&](unsigned element) { return part.part->ElementNumber(element); });
        });
    exchange.ForEachPart([&](unsigned number) {
      const dst_Part& part = *mesh.Part(number).part;
      ASSERT_EQ(found[number].size(), kWidth * part.NumNodes());
      for (unsigned i = 0; i < kWidth * part.NumNodes(); ++i) {
        const std::size_t node = part.NodeNumber(i / kWidth), c = i % kWidth;
        const double expected = counts[node][c] > 0 ? sums[node][c] / counts[node][c] : std::nan("");
        EXPECT_TRUE(found[number][i] == expected || (std::isnan(found[number][i]) && std::isnan(expected)))
            << "node " << node << ": " << found[number][i] << " instead of " << expected;
      }
    });
    exchange.Agree();
    const auto tooFew = [](const dst_OpenPart&, const bme_FEMElemList&) { return std::vector<double>(1); };
    EXPECT_NE(ThrownBy<nex_TextException>([&] {
                dst_AverageAtNodes(mesh, ofParts, kWidth, tooFew);
              }).find("part 0: 1 values"),
              cow_String::npos);
  });
}

TEST_F(dst_Answers, AMissingPartEndsEveryRankWithOneMessage) {
  const std::unique_ptr<dst_Exchange> exchange = MakeExchange();
  for (const unsigned numParts : {2U, 9U}) {
    const dst_SplitFolder folder(
        SplitOf(MeshWithDuplicates(Labelled::Nodes), Labelled::Nodes, numParts, *exchange));
    const dst_Mesh mesh = dst_Model(folder.Folder(), *exchange).Mesh();
    exchange->OnFirstRank([&] { std::filesystem::remove(folder.PartFile(numParts / 2)); });
    exchange->Agree();
    const cow_String said = ThrownBy<nex_TextException>([&] { dst_CalculateMeasures(mesh); });
    EXPECT_TRUE(said.starts_with("part " + std::to_string(numParts / 2) + ": ")) << said;
    EXPECT_EQ(ThrownBy<nex_TextException>([&] { dst_GetBBox(mesh); }), said);
    EXPECT_EQ(ThrownBy<nex_TextException>([&] { dst_FindDuplicates(mesh); }), said);
    EXPECT_NE(ThrownBy<nex_TextException>([&] { dst_Model("no such.split", *exchange); }), kNothingThrown);
  }
}

TEST_F(dst_Answers, ANodeThatOnePartAloneSharesEndsEveryCallThatNeedsIt) {
  const std::unique_ptr<dst_Exchange> exchange = MakeExchange();
  const bme_Mesh whole = MeshWithDuplicates(Labelled::Both);
  const dst_Model model(SplitOf(whole, Labelled::Both, 8, *exchange), *exchange);
  const auto otherHolder = [](dst_Part::Arrays& arrays) {
    unsigned& holder = arrays.holders.Modify()[arrays.holderStarts.Const()[1] - 1];
    holder = holder == 7 ? 6 : 7; // the number of the part is 5
  };
  for (const auto& edit : {std::function<void(dst_Part::Arrays&)>(WithoutFirstShared),
                           std::function<void(dst_Part::Arrays&)>(otherHolder)}) {
    const dst_Mesh mesh(*exchange, model.Index(), [&](unsigned number) {
      dst_OpenPart open = model.Folder().OpenPart(number);
      if (number == 5) open.part = cow_CountedHld<dst_Part>(new dst_Part(EditedPart(*open.part, edit)));
      return open;
    });
    const std::vector<std::function<void()>> calls = {
        [&] { dst_ComputeFaces(mesh, {.exclude = bme_EXCLUDE_UNSUPPORTED}); },
        [&] { dst_ComputeInterface(mesh, dst_Elements::OfClass(0), dst_Elements::OfClass(1)); },
        [&] { dst_FindDuplicates(mesh); },
        [&] { dst_FindCommonFaces(mesh); },
        [&] {
          dst_FindNodes(mesh, std::array{10, 13}, 1);
        },
        [&] {
          dst_AverageAtNodes(mesh, dst_Elements::OfClass(0), 1,
                             [](const dst_OpenPart&, const bme_FEMElemList& some) {
                               return std::vector<double>(8 * some.Count());
                             });
        }};
    for (std::size_t i = 0; i < calls.size(); ++i) {
      const cow_String said = ThrownBy<nex_TextException>(calls[i]);
      EXPECT_TRUE(said.starts_with("part ") && said.ends_with("shares with it; check the split"))
          << i << said;
    }
    EXPECT_EQ(ThrownBy<nex_TextException>([&] { dst_GetBBox(mesh); }), kNothingThrown);
  }
}

TEST_F(dst_Answers, OnlyTheFirstRankReadsTheIndex) {
  const std::unique_ptr<dst_Exchange> exchange = MakeExchange();
  const bme_Mesh whole = MeshWithDuplicates(Labelled::Both);
  const cow_String folder = SplitOf(whole, Labelled::Both, 8, *exchange),
                   withoutIndex = (TestFolder() / "without_index.split").string();
  exchange->OnFirstRank([&] {
    std::filesystem::create_directory(withoutIndex);
    std::filesystem::create_directory_symlink(folder + "/parts", withoutIndex + "/parts");
  });
  exchange->Agree();
  const dst_Model model(exchange->IsFirstRank() ? folder : withoutIndex, *exchange);
  EXPECT_TRUE(model.Index() == dst_SplitFolder(folder).Index());
  ExpectSame(dst_CalculateMeasures(model.Mesh()), bme_CalculateMeasures(whole));
  EXPECT_NE(ThrownBy<nex_TextException>([&] {
              dst_Model(exchange->IsFirstRank() ? withoutIndex : folder, *exchange);
            }).find("run it again"),
            cow_String::npos);
}

TEST_F(dst_Answers, MeansOfStoredFieldsAreThoseOfTheWhole) {
  const bme_Mesh whole = MeshWithDuplicates(Labelled::Both);
  const std::unique_ptr<dst_Exchange> exchange = MakeExchange();
  const cow_String file = (TestFolder() / "with_run.cgdb").string();
  exchange->OnFirstRank([&] {
    cls_Database model = cls_Database::Create(file);
    cls_WritePass pass(model);
    pass.Put("meshes/Wing", whole);
    pass.Commit();
    PutRunOfMixedMesh(model, whole);
  });
  exchange->Agree();
  const cls_Database model = cls_Database::Open(file);
  const odiC_Run run = odiC_Run::Open(model, "results/Wing/a");
  const auto areSolid = [](const bme_ElementClass& type) {
    return type.Shape() && type.Shape()->NumGeomDims() == 3;
  };
  const dst_Elements solids([&](const dst_OpenPart& part) {
    std::vector<unsigned> list;
    for (unsigned i = 0; i < part.mesh->ElementData().NumElements(); ++i)
      if (areSolid(part.mesh->ElementData().GetElemClass(i))) list.push_back(i);
    return bme_FEMElemList(*part.mesh, list);
  });
  for (const unsigned numParts : {1U, 3U, 8U}) {
    const cow_String folder = (TestFolder() / ("run" + std::to_string(numParts) + ".split")).string();
    exchange->OnFirstRank([&] {
      dst_WriteSplit(*dst_ModelSource(model, "meshes/Wing"),
                     RandomParts(whole.ElementData().NumElements(), numParts, numParts), numParts, folder);
    });
    exchange->Agree();
    const dst_Mesh mesh = dst_Model(folder, *exchange).Mesh();
    for (const char* variable : {"S", "E", "Q"}) {
      const odiC_Values values =
          odiC_Values(run, variable).AtNodes({.borders = odiC_Borders::None, .normals = 0});
      const odiC_SourcePointer source = values.Open({0, 1});
      const auto& groups = source->Layout().blocks; // one for each dimension
      const auto ofSolids = std::ranges::find(groups, "solids", &odiC_LayoutBlock::region);
      const odiC_LayoutBlock& block = ofSolids == groups.end() ? groups.front() : *ofSolids;
      const auto width = static_cast<std::size_t>(source->NumComponents());
      std::vector<double> expected(static_cast<std::size_t>(block.NumRows()) * width);
      source->Read(block.firstRow, expected);
      const auto found =
          dst_AverageAtNodes(mesh, solids, {.run = "results/Wing/a", .variable = variable, .frame = 1});
      int numCompared = 0;
      exchange->ForEachPart([&](unsigned number) {
        const dst_Part& part = *mesh.Part(number).part;
        for (unsigned node = 0; node < part.NumNodes(); ++node) {
          const int at = block.Find(static_cast<int>(part.NodeNumber(node)));
          for (std::size_t c = 0; c < width; ++c) {
            const double one = found[number][node * width + c],
                         wanted = at < 0 ? std::nan("") : expected[static_cast<std::size_t>(at) * width + c];
            EXPECT_TRUE(one == wanted || (std::isnan(one) && std::isnan(wanted)))
                << variable << " at node " << part.NodeNumber(node) << ": " << one << " instead of "
                << wanted;
            numCompared += std::isnan(wanted) ? 0 : 1;
          }
        }
      });
      exchange->Agree();
      EXPECT_TRUE(numCompared > 0 || exchange->MyParts().Count() == 0);
    }
    for (const char* variable : {"wave", "none"})
      EXPECT_ANY_THROW(dst_AverageAtNodes(mesh, solids, {.run = "results/Wing/a", .variable = variable}));
  }
}
