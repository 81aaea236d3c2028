// odiC_SendLayout.h: layouts that follow their mesh, and where their rows come from
#pragma once

#include <CoreGeometry/bme_Turned.h>
#include <CoreGeometry/odiC_SendRun.h>
#include <set>

/// A layout of the new mesh, and for each of its rows the old one, and the image that it is of. Rows of nodes that were
/// made between others are sums of old rows.
struct odiC_SentLayout {
  struct Sum {
    std::vector<int> rows;
    std::vector<double> weights;
  };
  odiC_Layout layout;
  std::vector<int> rows; ///< -1 - k for the sum k
  std::vector<Sum> sums;
  std::vector<int> images; ///< none when all are of the first
  bool isSame = false;     ///< every row is where it was
};

/// Sends layouts of a run, each once.
class odiC_LayoutSender {
public:
  odiC_LayoutSender(const odiC_Run& run, std::span<const odiC_Image> images, const bme_Mesh& oldMesh,
                    const bme_Mesh& newMesh, std::set<cow_String>& remarks);

  const odiC_SentLayout& Send(int layout);

private:
  /// The new elements of each old one.
  struct Successors {
    std::vector<unsigned> starts, elements;
  };
  struct Entry {
    int entity, facet, isOther, image, at;
    unsigned oldElement, newElement;
  };
  struct SentBlock {
    odiC_LayoutBlock block;
    std::vector<int> rows, images;
  };

  void AddMade(const odiC_LayoutBlock& block, std::size_t image, std::vector<Entry>& entries);
  void SendRegion(const odiC_LayoutBlock& block);
  void SendNodes(const odiC_LayoutBlock& block);
  using EntriesByClass = std::map<std::pair<int, cow_String>, std::vector<Entry>>; ///< and by region
  void SendElements(const odiC_LayoutBlock& block);
  void SendWhole(const odiC_LayoutBlock& block, std::size_t image, EntriesByClass& byClass);
  void SendFaces(const odiC_LayoutBlock& block, std::size_t image, EntriesByClass& byClass);
  bool IsInTheMiddle(const odiC_LayoutBlock& block) const;
  void SendToClass(const odiC_LayoutBlock& block, int newClass, const cow_String& region,
                   std::vector<Entry>& entries);
  /// Values at the nodes of sections of elements, which lie between nodes of these.
  void SendSection(const odiC_LayoutBlock& block, int newClass, const cow_String& region,
                   std::vector<Entry>& entries);
  /// For each node that was made its place among them, -1 for others.
  const std::vector<int>& PlacesOfMade(std::size_t image);
  std::vector<int> TurnedPoints(const odiC_LayoutBlock& block, const bme_ElementClass& type) const;
  std::vector<int> NodesOf(const bme_ElementClass& newType, const Entry& entry) const;
  void Add(odiC_LayoutBlock block, std::vector<Entry>& entries, std::size_t all);
  void LeaveOut(const odiC_LayoutBlock& block, const char* why);
  cow_String RegionIn(std::size_t image, const cow_String& region) const;
  odiC_SentLayout Joined(const odiC_Layout& old);

  const odiC_Run& run_;
  std::span<const odiC_Image> images_;
  const bme_Mesh &old_, &new_;
  std::set<cow_String>& remarks_;
  std::vector<Successors> successors_; ///< of each image
  std::vector<bme_TurnedFaces> turned_;
  std::vector<std::vector<int>> placesOfMade_; ///< of each image, once it was asked for
  std::vector<odiC_SentLayout::Sum> sums_;
  std::vector<SentBlock> blocks_; ///< of the layout that is being sent
  std::map<int, odiC_SentLayout> known_;
};
