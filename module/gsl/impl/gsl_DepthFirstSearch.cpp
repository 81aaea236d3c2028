#include <CoreGeometry/gsl_DepthFirstSearch.h>

#include <cstddef>
#include <vector>

void gsl_DepthFirstSearch(const bool* adjacency, int n, int* order, int& count) {
  count = 0;
  if (n < 1) return;
  std::vector<bool> reached(static_cast<std::size_t>(n));
  struct Visit {
    int node, next; // the neighbours before next are done
  };
  std::vector<Visit> path;
  const auto enter = [&](int node) {
    reached[static_cast<std::size_t>(node)] = true;
    order[count++] = node;
    path.push_back({node, 0});
  };
  enter(0);
  while (!path.empty()) {
    Visit& top = path.back();
    const bool* row = adjacency + static_cast<std::ptrdiff_t>(top.node) * n;
    while (top.next < n && (!row[top.next] || reached[static_cast<std::size_t>(top.next)])) ++top.next;
    if (top.next == n)
      path.pop_back();
    else
      enter(top.next++);
  }
}
