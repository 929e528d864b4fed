#include "base/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <random>

namespace velto::files {

std::string errnoText(int error) {
  return std::strerror(error);
}

namespace {

Error errnoError(std::string_view what, const std::filesystem::path& path, int error) {
  return Error{std::string(what) + " " + path.string() + ": " + errnoText(error)};
}

std::string temporaryName(const std::filesystem::path& path) {
  static thread_local std::mt19937_64 random{std::random_device{}()};
  return path.string() + ".tmp-" + std::to_string(getpid()) + "-" +
         std::to_string(random() % 1000000);
}

}  // namespace

Status ensureDirectory(const std::filesystem::path& dir) {
  if (dir.empty()) return {};
  struct stat info {};
  if (::stat(dir.c_str(), &info) == 0) {
    if (S_ISDIR(info.st_mode)) return {};
    return Error{dir.string() + " is not a folder"};
  }
  if (dir.has_parent_path() && dir.parent_path() != dir) {
    if (Status parent = ensureDirectory(dir.parent_path()); !parent) return parent;
  }
  if (::mkdir(dir.c_str(), 0700) != 0 && errno != EEXIST) {
    return errnoError("Could not create", dir, errno);
  }
  return {};
}

Status writeAtomically(const std::filesystem::path& path, std::string_view bytes, unsigned mode) {
  if (Status folder = ensureDirectory(path.parent_path()); !folder) return folder;
  const std::string temp = temporaryName(path);
  int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
  if (fd < 0) return errnoError("Could not create", temp, errno);
  ::fchmod(fd, mode);  // the umask may have narrowed the mode given to open
  const char* data = bytes.data();
  size_t left = bytes.size();
  while (left > 0) {
    ssize_t written = ::write(fd, data, left);
    if (written < 0) {
      if (errno == EINTR) continue;
      int error = errno;
      ::close(fd);
      ::unlink(temp.c_str());
      return errnoError("Could not write", temp, error);
    }
    data += written;
    left -= static_cast<size_t>(written);
  }
  if (::fsync(fd) != 0) {
    int error = errno;
    ::close(fd);
    ::unlink(temp.c_str());
    return errnoError("Could not sync", temp, error);
  }
  ::close(fd);
  if (::rename(temp.c_str(), path.c_str()) != 0) {
    int error = errno;
    ::unlink(temp.c_str());
    return errnoError("Could not replace", path, error);
  }
  const std::filesystem::path folder = path.has_parent_path() ? path.parent_path() : ".";
  if (int dirFd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); dirFd >= 0) {
    ::fsync(dirFd);
    ::close(dirFd);
  }
  return {};
}

Result<std::string> readAll(const std::filesystem::path& path) {
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return errnoError("Could not open", path, errno);
  std::string out;
  char buffer[16384];
  while (true) {
    ssize_t got = ::read(fd, buffer, sizeof buffer);
    if (got < 0) {
      if (errno == EINTR) continue;
      int error = errno;
      ::close(fd);
      return errnoError("Could not read", path, error);
    }
    if (got == 0) break;
    out.append(buffer, static_cast<size_t>(got));
  }
  ::close(fd);
  return out;
}

std::optional<ReadProblem> readableFileProblem(const std::filesystem::path& path) {
  auto problemOf = [](int error) {
    switch (error) {
      case ENOENT:
      case ENOTDIR:
        return ReadProblem::missing;
      case EACCES:
      case EPERM:
        return ReadProblem::denied;
      default:
        return ReadProblem::other;
    }
  };
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) return problemOf(errno);
  if (S_ISDIR(info.st_mode)) return ReadProblem::folder;
  if (!S_ISREG(info.st_mode)) return ReadProblem::notRegularFile;
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return problemOf(errno);
  ::close(fd);
  return std::nullopt;
}

Status remove(const std::filesystem::path& path) {
  if (::unlink(path.c_str()) != 0 && errno != ENOENT) {
    return errnoError("Could not remove", path, errno);
  }
  return {};
}

}  // namespace velto::files
