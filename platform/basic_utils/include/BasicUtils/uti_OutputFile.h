// uti_OutputFile.h: an output file that is written completely, or not at all
#pragma once

#include <BasicUtils/nex_Exception.h>
#include <atomic>
#include <vector>

/// A file of that name exists, and replacing it was not requested.
class CORE_GEOMETRY_PLATFORM_API uti_FileExistsException : public nex_TextException {
public:
  using nex_TextException::nex_TextException;
  ~uti_FileExistsException() override;
};

/// Rules for the name of an output.
struct uti_OutputRules {
  bool force = false;                 ///< replaces a regular file
  std::vector<cow_String> inputs{};   ///< files that the work reads; they are never replaced
  std::vector<cow_String> suffixes{}; ///< that the name may end in (".vtu"), in any case; none for any
  bool isModel = false;               ///< a model, whose name must have no journal of an earlier one
  bool isStream = false;              ///< "-" is the standard output, else it is refused
};

/// One output file. It is written at Path(), in a private folder beside its target, and Commit() renames it
/// when its bytes are on the disk. Without a Commit nothing is left. Writers take this class rather than a
/// name, so that these rules hold for all of them.
///
/// Name       a link is followed first: its target is the file. "-" is written to a temporary file that
///            Commit() copies to the standard output. "%04d" is refused: a series has a name for each file,
///            see Numbered().
/// Refused    an empty name, a folder, anything that is not a regular file, another suffix, an existing file
///            (unless forced), an input under any name, a file that this process has open, and a model
///            database, forced or not.
///            there (unless forced), an input by any name, a file that this process has open, and a model
///            database, forced or not.
/// Access     that of any new file of the user, or mode and owner of the file that is replaced.
/// Errors     nex_TextException naming the file and the system's reason; uti_FileExistsException.
/// Signals    see RemoveUnfinished(). What a killed process leaves is removed a day later by the next output
///            beside it.
/// Threads    each object on one thread; several objects may be in use at once.
class CORE_GEOMETRY_PLATFORM_API uti_OutputFile {
public:
  explicit uti_OutputFile(const cow_String& name, uti_OutputRules rules = {});
  ~uti_OutputFile(); ///< removes what was written unless committed
  uti_OutputFile(const uti_OutputFile&) = delete;
  uti_OutputFile& operator=(const uti_OutputFile&) = delete;

  const cow_String& Name() const noexcept { return name_; }     ///< as given, for messages
  const cow_String& Path() const noexcept { return path_; }     ///< to write to: an existing empty file
  const cow_String& Target() const noexcept { return target_; } ///< absolute, links followed

  /// Gives the file its name. Without `force` it never replaces a file, even one that was made in the
  /// meantime.
  void Commit();

  /// Throws as the constructor does for a name that is always wrong, without access to the file system.
  static void CheckName(const cow_String& name, const uti_OutputRules& rules = {});
  static bool HasSuffix(const cow_String& name, const std::vector<cow_String>& suffixes); ///< in any case
  static bool IsStandardOutput(const cow_String& name); ///< "-", /dev/stdout
  /// The name of one file of a series: "%04d" stands for four digits or more. Throws unless it occurs once.
  static cow_String Numbered(const cow_String& pattern, int number);
  /// Whether the file starts as a model database does. Not for a file that SQLite has open in this process:
  /// closing it would drop the locks.
  static bool IsModel(const cow_String& file);
  /// Removes all unfinished outputs of this process. For handlers of signals that end the process: it calls
  /// only async-signal-safe functions. The library installs no handlers.
  static void RemoveUnfinished() noexcept;

private:
  struct Place;
  bool MayReplace() const; ///< false when there is nothing to replace
  void CopyToStandardOutput() const;
  void Rename();

  static std::atomic<Place*> places_; ///< of all outputs that were ever made
  cow_String name_, target_, path_;
  uti_OutputRules rules_;
  Place* place_ = nullptr; ///< of the private folder, among those that RemoveUnfinished() knows
};
