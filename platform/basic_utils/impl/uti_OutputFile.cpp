#include <BasicUtils/uti_OutputFile.h>
#include <BasicUtils/uti_SyncFolder.h>
#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <mutex>
#include <sys/stat.h>
#include <system_error>
#include <time.h>
#include <unistd.h>

namespace fs = std::filesystem;

uti_FileExistsException::~uti_FileExistsException() = default;

constinit std::atomic<uti_OutputFile::Place*> uti_OutputFile::places_{nullptr};

/// Names of one private folder, in memory that is never freed so that a handler of signals may read it.
struct uti_OutputFile::Place {
  std::atomic<pid_t> owner{0}; ///< 0: free. A child of fork() leaves the files of its parent alone.
  Place* next = nullptr;
  char folder[PATH_MAX] = {}, file[PATH_MAX] = {}, journal[PATH_MAX] = {};

  void Remove() const noexcept {
    unlink(file);
    unlink(journal);
    rmdir(folder);
  }
};

namespace {
constexpr char kPrivate[] = ".coregeometry-"; // and the six characters of mkdtemp
constexpr std::size_t kRandomLength = 6;

class Descriptor {
public:
  explicit Descriptor(int id) : id_(id) {}
  ~Descriptor() {
    if (id_ >= 0) close(id_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int Id() const noexcept { return id_; }

private:
  int id_;
};

class Listing {
public:
  explicit Listing(DIR* listing) : listing_(listing) {}
  ~Listing() {
    if (listing_) closedir(listing_);
  }
  Listing(const Listing&) = delete;
  Listing& operator=(const Listing&) = delete;
  const char* Next() const {
    const dirent* entry = listing_ ? readdir(listing_) : nullptr;
    return entry ? entry->d_name : nullptr;
  }
  int Id() const { return dirfd(listing_); }

private:
  DIR* listing_;
};

[[noreturn]] void Fail(const cow_String& name, const cow_String& what, int reason) {
  throw nex_TextException(name + ": " + what + ": " + std::generic_category().message(reason));
}

bool IsSame(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

/// Whether this process has the file open under any name.
bool IsOpenHere(const struct stat& file) {
  const Listing descriptors(opendir("/proc/self/fd"));
  while (const char* entry = descriptors.Next()) {
    struct stat open = {};
    if (fstatat(descriptors.Id(), entry, &open, 0) == 0 && S_ISREG(open.st_mode) && IsSame(open, file))
      return true;
  }
  return false;
}

/// The file that a name leads to, which need not be there: every link on the way is followed.
fs::path Followed(const cow_String& name) {
  constexpr int kMostLinks = 40;
  fs::path path = fs::absolute(name);
  for (int i = 0; i < kMostLinks; ++i) {
    std::error_code error;
    fs::path folder = fs::canonical(path.parent_path(), error);
    if (error) Fail(name, "its folder cannot be found", error.value());
    path = folder / path.filename();
    const fs::path link = fs::read_symlink(path, error);
    if (error) return path;
    path = link.is_absolute() ? link : folder / link;
  }
  Fail(name, "cannot be followed", ELOOP);
}

/// SQLite would play it into a file of that name.
void RefuseJournals(const cow_String& model) {
  for (const char* suffix : {"-journal", "-wal"})
    if (struct stat facts = {}; lstat((model + suffix).c_str(), &facts) == 0)
      throw nex_TextException(
          model + suffix
          + ": is the journal of an earlier model and would damage a new one of that name; "
            "choose another name, or delete it when its model is gone for good");
}

bool IsPrivateName(std::string_view name) {
  return name.starts_with(kPrivate) && name.size() == sizeof kPrivate - 1 + kRandomLength;
}

/// Removes the private folder of a process that was killed a day ago or earlier.
void RemoveOld(int folder, const char* name) {
  constexpr time_t kDay = 24 * 60 * 60;
  const time_t now = time(nullptr);
  const int id = openat(folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  struct stat facts = {};
  if (id < 0 || fstat(id, &facts) != 0 || facts.st_uid != geteuid() || now - facts.st_mtime < kDay) {
    if (id >= 0) close(id);
    return;
  }
  const Listing content(fdopendir(id)); // closes it
  std::vector<cow_String> files;
  while (const char* entry = content.Next()) {
    if (std::string_view(entry) == "." || std::string_view(entry) == "..") continue;
    if (fstatat(id, entry, &facts, AT_SYMLINK_NOFOLLOW) != 0 || now - facts.st_mtime < kDay) return;
    files.emplace_back(entry);
  }
  for (const cow_String& file : files) unlinkat(id, file.c_str(), 0);
  unlinkat(folder, name, AT_REMOVEDIR);
}

/// Once for each folder in a row: a series of files is not a series of looks.
void RemoveOldOnes(const fs::path& folder) {
  static std::mutex mutex;
  static fs::path last;
  const std::scoped_lock lock(mutex);
  if (folder == last) return;
  const Listing content(opendir(folder.c_str()));
  while (const char* entry = content.Next())
    if (IsPrivateName(entry)) RemoveOld(content.Id(), entry);
  last = folder;
}

/// Position of the number's place, and its length; length 0 without one.
std::pair<std::size_t, std::size_t> FindNumber(const cow_String& name, std::size_t from = 0) {
  for (std::size_t at = name.find('%', from); at != cow_String::npos; at = name.find('%', at + 1)) {
    std::size_t end = at + 1;
    while (end < name.size() && name[end] >= '0' && name[end] <= '9') ++end;
    if (end < name.size() && name[end] == 'd' && end - at <= 3) return {at, end + 1 - at};
  }
  return {cow_String::npos, 0};
}

/// Owner, group and mode of another file. A group that cannot be kept gets no more than everybody.
bool TakeAccess(int file, const struct stat& other) {
  const bool keepsOwner = fchown(file, other.st_uid, static_cast<gid_t>(-1)) == 0;
  const bool keepsGroup = fchown(file, static_cast<uid_t>(-1), other.st_gid) == 0;
  mode_t mode = other.st_mode & (keepsOwner && keepsGroup ? mode_t{07777} : mode_t{0777});
  if (!keepsGroup) mode &= ~mode_t{0070} | (mode & mode_t{0007}) << 3U;
  return fchmod(file, mode) == 0;
}

/// Renames without replacing; 0, or the reason why not.
int RenameIfFree(const char* from, const char* to) {
  if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return 0;
  if (errno != ENOSYS && errno != EINVAL) return errno;
  if (link(from, to) != 0) return errno;
  unlink(from);
  return 0;
}
} // namespace

void uti_OutputFile::CheckName(const cow_String& name, const uti_OutputRules& rules) {
  if (name.empty()) throw nex_TextException("the name of the output is empty");
  if (name.find('\0') != cow_String::npos) throw nex_TextException("the name of the output has a zero byte");
  if (IsStandardOutput(name)) {
    if (rules.isStream) return;
    throw nex_TextException(name + ": the output must be a file, not the standard output");
  }
  if (FindNumber(name).second > 0)
    throw nex_TextException(name + ": has a place for numbers, but one file is written");
  if (rules.suffixes.empty() || HasSuffix(name, rules.suffixes)) return;
  cow_String list;
  for (const cow_String& suffix : rules.suffixes)
    list += (list.empty() ? "" : &suffix == &rules.suffixes.back() ? " or " : ", ") + suffix;
  throw nex_TextException(name + ": its name does not end in " + list);
}

bool uti_OutputFile::HasSuffix(const cow_String& name, const std::vector<cow_String>& suffixes) {
  const cow_String upper = cow_ToUpper(name);
  return std::ranges::any_of(suffixes, [&](const cow_String& suffix) {
    return upper.size() > suffix.size() && upper.ends_with(cow_ToUpper(suffix));
  });
}

bool uti_OutputFile::IsStandardOutput(const cow_String& name) {
  return name == "-" || name == "/dev/stdout" || name == "/dev/fd/1";
}

cow_String uti_OutputFile::Numbered(const cow_String& pattern, int number) {
  const auto [at, length] = FindNumber(pattern);
  if (length == 0 || FindNumber(pattern, at + length).second > 0)
    throw nex_TextException(pattern + ": has not one place for numbers, such as %04d");
  std::array<char, 128> text{};
  const int width = std::atoi(pattern.c_str() + at + 1);
  std::snprintf(text.data(), text.size(), "%0*d", width, number);
  return pattern.substr(0, at) + text.data() + pattern.substr(at + length);
}

bool uti_OutputFile::IsModel(const cow_String& file) {
  constexpr std::string_view kDatabase("SQLite format 3\0", 16), kModel = "CGdb";
  constexpr std::size_t kModelAt = 68;
  const Descriptor opened(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  std::array<char, kModelAt + 4> start{};
  if (opened.Id() < 0 || pread(opened.Id(), start.data(), start.size(), 0) != ssize_t{start.size()})
    return false;
  const std::string_view bytes(start.data(), start.size());
  return bytes.starts_with(kDatabase) && bytes.substr(kModelAt) == kModel;
}

void uti_OutputFile::RemoveUnfinished() noexcept {
  const int before = errno;
  const pid_t self = getpid();
  for (const Place* place = places_.load(); place; place = place->next)
    if (place->owner.load() == self) place->Remove();
  errno = before;
}

bool uti_OutputFile::MayReplace() const {
  struct stat facts = {}, other = {};
  if (stat(target_.c_str(), &facts) != 0) {
    if (errno != ENOENT) Fail(name_, "cannot be written", errno);
    if (rules_.isModel) RefuseJournals(target_);
    return false;
  }
  if (S_ISDIR(facts.st_mode)) throw nex_TextException(name_ + ": is a folder; name a file in it");
  if (!S_ISREG(facts.st_mode))
    throw nex_TextException(name_ + ": is not a regular file and cannot be replaced by one");
  for (const cow_String& input : rules_.inputs)
    if (stat(input.c_str(), &other) == 0 && IsSame(facts, other))
      throw nex_TextException(name_ + ": is read by this very work (" + input
                              + ") and cannot be its output; name another file");
  if (!rules_.force) throw uti_FileExistsException(name_ + ": exists already");
  if (IsOpenHere(facts)) throw nex_TextException(name_ + ": is open in this program; name another file");
  if (IsModel(target_)) throw nex_TextException(name_ + ": is a model, which is never replaced by an output");
  return true;
}

uti_OutputFile::uti_OutputFile(const cow_String& name, uti_OutputRules rules)
    : name_(name), rules_(std::move(rules)) {
  CheckName(name_, rules_);
  const bool isStream = rules_.isStream && IsStandardOutput(name_);
  if (isStream && isatty(STDOUT_FILENO) != 0)
    throw nex_TextException("the standard output is a terminal, which cannot show such a file");
  const cow_String last = fs::path(name_).filename();
  if (last.empty() || last == "." || last == "..")
    throw nex_TextException(name_ + ": is a folder; name a file in it");
  const fs::path target = isStream ? fs::temp_directory_path() / "output" : Followed(name_);
  target_ = isStream ? cow_String() : target.string();
  if (!isStream) MayReplace();

  const fs::path folder = target.parent_path();
  RemoveOldOnes(folder);
  cow_String made = (folder / kPrivate).string() + cow_String(kRandomLength, 'X');
  if (made.size() + target.filename().string().size() + sizeof "/-journal" > PATH_MAX)
    Fail(name_, "cannot be written", ENAMETOOLONG);
  for (place_ = places_.load(); place_; place_ = place_->next)
    if (pid_t free = 0; place_->owner.compare_exchange_strong(free, -1)) break;
  if (!place_) {
    place_ = new Place;
    place_->owner = -1;
    place_->next = places_.load();
    while (!places_.compare_exchange_weak(place_->next, place_)) {
    }
  }
  if (!mkdtemp(made.data())) {
    const int reason = errno;
    place_->owner = 0;
    Fail(name_, "no file can be made in its folder", reason);
  }
  path_ = made + "/" + target.filename().string();
  std::strcpy(place_->folder, made.c_str());
  std::strcpy(place_->file, path_.c_str());
  std::strcpy(place_->journal, (path_ + "-journal").c_str());
  place_->owner = getpid();
  // made here, so that it has the access that the user's new files have, whatever writes it
  const Descriptor file(open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  if (file.Id() >= 0) return;
  const int reason = errno;
  place_->Remove();
  place_->owner = 0;
  Fail(name_, "no file can be made in its folder", reason);
}

uti_OutputFile::~uti_OutputFile() {
  if (!place_ || place_->owner.load() != getpid()) return;
  place_->Remove();
  place_->owner = 0;
}

int uti_SyncFolder(const cow_String& folder) noexcept {
  const Descriptor names(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return names.Id() >= 0 && fsync(names.Id()) != 0 && errno != EINVAL ? errno : 0;
}

void uti_OutputFile::Commit() {
  if (target_.empty()) {
    CopyToStandardOutput();
    return;
  }
  struct stat old = {};
  const bool replaces = MayReplace() && stat(target_.c_str(), &old) == 0;
  {
    const Descriptor file(open(path_.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.Id() < 0) Fail(name_, "cannot be written", errno);
    if (replaces && !TakeAccess(file.Id(), old)) Fail(name_, "its access cannot be set", errno);
    if (fsync(file.Id()) != 0) Fail(name_, "cannot be written", errno);
  }
  Rename();
  if (const int reason = uti_SyncFolder(fs::path(target_).parent_path().string()))
    Fail(name_, "is written, but its folder cannot be brought to the disk", reason);
  place_->Remove();
  place_->owner = 0;
  place_ = nullptr;
}

void uti_OutputFile::Rename() {
  int reason = RenameIfFree(path_.c_str(), target_.c_str());
  if (reason == EEXIST && MayReplace()) reason = rename(path_.c_str(), target_.c_str()) == 0 ? 0 : errno;
  if (reason != 0) Fail(name_, "cannot be written", reason);
}

void uti_OutputFile::CopyToStandardOutput() const {
  std::fflush(stdout);
  const Descriptor file(open(path_.c_str(), O_RDONLY | O_CLOEXEC));
  std::array<char, 1 << 16> bytes; // NOLINT(cppcoreguidelines-pro-type-member-init): filled by read()
  for (ssize_t count; (count = read(file.Id(), bytes.data(), bytes.size())) != 0;) {
    if (count < 0) Fail(name_, "cannot be read back", errno);
    for (ssize_t at = 0, done; at < count; at += done) {
      done = write(STDOUT_FILENO, bytes.data() + at, static_cast<std::size_t>(count - at));
      if (done < 0 && errno != EINTR) Fail("standard output", "cannot be written", errno);
      done = std::max<ssize_t>(done, 0);
    }
  }
}
