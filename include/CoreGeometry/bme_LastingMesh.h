// bme_LastingMesh.h: argument type for a mesh that must outlive the call
#pragma once

class bme_Mesh;

/// Argument of classes that keep a reference to a mesh. A temporary mesh does not compile: it would end too
/// early.
class bme_LastingMesh {
public:
  bme_LastingMesh(const bme_Mesh& mesh) noexcept : mesh_(&mesh) {}
  bme_LastingMesh(const bme_Mesh&&) = delete;

  operator const bme_Mesh&() const noexcept { return *mesh_; }
  const bme_Mesh* operator->() const noexcept { return mesh_; }
  const bme_Mesh& operator*() const noexcept { return *mesh_; }

private:
  const bme_Mesh* mesh_;
};
