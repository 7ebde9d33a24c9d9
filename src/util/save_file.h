// Rewriting a file so that its settings can't be lost: a full disk, a limit on the size of files, a
// kill or a power cut at any moment leaves either the old file or the new one, never a mixture.
// Every file that the program rewrites goes through here.
#pragma once

#include <string>
#include <string_view>

// Makes `text` the file's content and tells whether it is. When it can't, the old file stays as it
// was (and no file appears where there was none); nothing is reported. Nothing here waits, whatever
// is in the file's place: a pipe that nobody reads is a failure.
//
// The new content is written to a file without a name, brought to the disk, gets an unguessable
// name beside the old one (`.ifmenu-XXXXXX`), and takes its place at once. A file system that has
// no files without names gets one with that name from the start. What a kill or a power cut leaves
// under such a name, the next save in the same folder removes.
//
// To everyone else the path stays what it was: same owner, group, mode, access control list and
// other extended attributes (a new file gets 0666 less the umask, and what its folder hands down);
// a symbolic link stays a link and its target is replaced, a device is written to. Other hard links
// keep the old content.
//
// A file that can't be replaced is overwritten in place: one that is a mount of its own, whose
// folder is read-only, or that has an owner, a mode or an attribute which the new one may not have.
// Room is reserved first, and one write puts the new text over the old one, with line feeds over
// what the old one had more.
bool SaveFile(const std::string& path, std::string_view text);

// The same for a file whose temporary neighbour has a name of its own; what is there under that
// name is removed first. Links are not followed: `path` itself is replaced. When the new file can't
// take the old one's place, it stays under its temporary name.
bool SaveFileThrough(const std::string& temporary, const std::string& path, std::string_view text);
