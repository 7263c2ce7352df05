#include "node/live/state_file.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>

namespace live {
namespace {

constexpr const char* kFolder = "/run/mc_node";

// Several can be named, as systemd does it for a service with several.
std::string folder() {
    const char* const given = std::getenv("RUNTIME_DIRECTORY");
    const std::string folders = given != nullptr ? given : "";
    return folders.empty() ? kFolder : folders.substr(0, folders.find(':'));
}

std::string boot_id() {
    std::ifstream file("/proc/sys/kernel/random/boot_id");
    std::string id;
    file >> id;
    return id.empty() ? "unknown" : id;
}

std::uint64_t netns_inode() {
    struct stat about {};
    return stat("/proc/self/ns/net", &about) == 0 ? about.st_ino : 0;
}

std::uint64_t netns_cookie() {
    constexpr int kNetnsCookie = 71;  // SO_NETNS_COOKIE
    std::uint64_t cookie = 0;
    socklen_t size = sizeof cookie;
    const int descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (getsockopt(descriptor, SOL_SOCKET, kNetnsCookie, &cookie, &size) != 0) cookie = 0;
    close(descriptor);
    return cookie;
}

}  // namespace

StateFile::StateFile(const std::string& bridge, Say say)
    : say_(std::move(say)),
      place_{boot_id(), netns_inode(), netns_cookie(), bridge},
      path_(folder() + "/" + bridge + "." + std::to_string(place_.netns) + ".state") {}

std::optional<Originals> StateFile::read() {
    std::ifstream file(path_);
    if (!file) return std::nullopt;
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const auto record = parse_record(text);
    if (!record) {
        say_(path_ + ": cannot be made out, and is passed over");
        return std::nullopt;
    }
    if (record->place != place_) return std::nullopt;
    return record->originals;
}

void StateFile::write(const Originals& originals) {
    const std::string text = text_of({place_, originals});
    if (text == written_) return;
    const int error = replace(text);
    if (error == 0) {
        written_ = text;
    } else if (!std::exchange(said_unwritable_, true)) {
        say_(path_ + " cannot be written: " + std::strerror(error) +
             "; should the node be killed, the bridge's own settings are not known any more");
    }
}

// 0, or the errno of what failed.
int StateFile::replace(const std::string& text) const {
    const std::string fresh = path_ + ".new";
    static_cast<void>(mkdir(path_.substr(0, path_.rfind('/')).c_str(), 0755));
    const int descriptor = open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (descriptor < 0) return errno;
    errno = ENOSPC;  // for what is written in part
    const bool is_written =
        ::write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    int error = is_written ? 0 : errno;
    close(descriptor);
    if (error == 0 && std::rename(fresh.c_str(), path_.c_str()) != 0) error = errno;
    if (error != 0) static_cast<void>(unlink(fresh.c_str()));
    return error;
}

void StateFile::remove_left() const { static_cast<void>(unlink(path_.c_str())); }

void StateFile::remove() {
    if (written_.empty()) return;
    remove_left();
    written_.clear();
}

}  // namespace live
