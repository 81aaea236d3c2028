// cls_StoredArray.h: a stored array of numbers that is read in pieces
#pragma once

#include <BasicUtils/cls_Database.h>

/// Size of a stored array.
struct cls_ArraySize {
  std::size_t numbers = 0;
  std::size_t width = 1;        ///< numbers in a row
  std::size_t chunkNumbers = 0; ///< that are stored, and checked, together; all for a small array
};

/// Size of the array that a location names, without reading its numbers.
///
/// Errors     as cls_Database; nex_TextException when the field is no array.
CORE_GEOMETRY_PLATFORM_API cls_ArraySize cls_SizeOf(const cls_Database& database, const cls_Location& field);

/// The same as below, in bytes.
CORE_GEOMETRY_PLATFORM_API void cls_ForEachPiece(const cls_Database& database, const cls_Location& field,
                                                 cls_ArrayKind kind, std::size_t elementSize,
                                                 const std::function<void(std::span<const std::byte>)>& see);

/// Calls take(numbers) for a whole array, one stored chunk after the other, in the memory of two chunks. With a lent
/// wip_Executor the next chunk is read meanwhile, and take is called on any of its threads, one call at a time.
///
/// Errors     as cls_Database, also after some calls; nex_TextException when the field is no such array.
template<class T, class Take>
void cls_ForEachPiece(const cls_Database& database, const cls_Location& field, const Take& take) {
  cls_ForEachPiece(database, field, cls_kArrayKind<T>, sizeof(T), [&](std::span<const std::byte> bytes) {
    take(std::span<const T>(reinterpret_cast<const T*>(bytes.data()), bytes.size() / sizeof(T)));
  });
}

/// Reads ranges of one array. The chunk that was read last is kept: a checksum is verified once for neighbouring
/// ranges, not for each.
///
/// Threads    one thread at a time; the database must outlive it.
template<class T> class cls_StoredArray {
public:
  cls_StoredArray() = default;
  cls_StoredArray(const cls_Database& database, const cow_String& path)
      : database_(&database), field_(database.Resolve(path)), size_(cls_SizeOf(database, field_)) {}

  const cls_ArraySize& Size() const noexcept { return size_; }
  void Read(std::size_t first, std::span<T> target) const {
    while (!target.empty()) {
      const std::size_t chunk = first / size_.chunkNumbers * size_.chunkNumbers;
      const std::size_t end = std::min(chunk + size_.chunkNumbers, size_.numbers);
      const std::size_t count = std::min(target.size(), end > first ? end - first : target.size());
      if (chunk == first && count == end - chunk) {
        database_->ReadRange(field_, first, target.first(count)); // all of it: not worth keeping
      } else {
        if (kept_.empty() || keptAt_ != chunk || end <= first) {
          keptAt_ = chunk;
          kept_.resize(end > first ? end - chunk : 0);
          if (end <= first) database_->ReadRange(field_, first, target); // throws: it is outside
          database_->ReadRange(field_, chunk, std::span(kept_));
        }
        std::copy_n(kept_.begin() + static_cast<std::ptrdiff_t>(first - chunk), count, target.begin());
      }
      first += count;
      target = target.subspan(count);
    }
  }

private:
  const cls_Database* database_ = nullptr;
  cls_Location field_;
  cls_ArraySize size_;
  mutable std::vector<T> kept_;
  mutable std::size_t keptAt_ = 0;
};
