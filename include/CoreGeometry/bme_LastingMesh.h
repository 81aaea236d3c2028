// bme_LastingMesh.h: a mesh that is referred to
#pragma once

class bme_Mesh;

/// A mesh as an argument of what goes on referring to it: no temporary one, which would be gone by then.
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
