// Rewrites a file so that its content can't be lost: a full disk, a file size limit, a kill or a
// power cut at any moment leaves either the old file or the new one, never a mixture. The program
// rewrites all files through these functions. The caller ignores SIGXFSZ, which would end it at a
// file size limit.
#pragma once

#include <string>
#include <string_view>

// Replaces the content of the file with `text`, and returns whether it succeeded. On failure the
// old file is unchanged (and a missing file is not created); nothing is reported. Never blocks,
// whatever is in the file's place: a pipe without a reader is a failure.
//
// The new content is written to an unnamed file and synced to disk; then the file gets an
// unguessable name next to the old one (`.ifmenu-XXXXXX`) and atomically replaces it. On a file
// system without unnamed files, the new file has this name from the start. If a kill or a power cut
// leaves such a file behind, the next save in the same folder removes it.
//
// For everyone else the path stays the same: owner, group, mode, access control list and other
// extended attributes are kept (a new file gets mode 0666 less the umask, and what its folder
// passes on). A symbolic link stays a link, and its target is replaced. A device is written to.
// Other hard links keep the old content.
//
// A file that can't be replaced is overwritten in place: one that is a mount point, that is in a
// read-only folder, or whose owner, mode or attributes can't be given to a new file. Space is
// reserved first; then a single write puts the new text over the old one, followed by line feeds up
// to the old length, which are then cut off.
bool SaveFile(const std::string& path, std::string_view text);

// The same with a temporary file of a given name; an existing file of that name is removed first.
// Links are not followed: `path` itself is replaced. If no file of that name can be created,
// nothing is saved; if the new file can't be renamed to `path`, it keeps its temporary name.
bool SaveFileThrough(const std::string& temporary, const std::string& path, std::string_view text);
