// Output files that appear complete or not at all and never harm what stood at the path:
// a temporary file beside the target, renamed over it only when the target is a regular
// file or a new name.
#pragma once

#include <functional>
#include <string>

namespace rcctool {

/// Runs `produce` with the name of a new temporary file beside the file `path` leads to and
/// renames that file over it when `produce` returns. A symbolic link is followed, so its
/// target gets the new content and the link stays. The file at the path is replaced, not
/// rewritten: another hard link to the old file keeps the old content. The new file keeps
/// the permissions of the file it replaces, or gets those the umask gives a new file.
/// Throws OutputError, with nothing written, when the path is a directory, a FIFO, a device
/// or a socket, or a read-only file. The temporary file is removed when `produce` throws,
/// when the rename fails, and on SIGINT, SIGTERM or SIGHUP meanwhile.
void writeFileSafely(const std::string& path,
                     const std::function<void(const std::string&)>& produce);

/// The file a path leads to once symbolic links are followed (the path itself when it names
/// nothing yet). Throws OutputError when that is not a regular file or a new name.
std::string outputTarget(const std::string& path);

}  // namespace rcctool
