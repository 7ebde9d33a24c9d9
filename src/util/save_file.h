// Rewriting a file so that its settings can't be lost: a full disk, a kill or a power cut at any
// moment leaves either the old file or the new one, whole. Every file that the program rewrites
// goes through here.
#pragma once

#include <string>
#include <string_view>

// Makes `text` the file's content and tells whether it is. When it can't, the old file stays as it
// was (and no file appears where there was none); nothing is reported.
//
// The new content is written to a file with an unguessable name beside the old one, brought to the
// disk, and then takes its place. To everyone else the path stays what it was: same owner, group
// and mode (a new file gets 0666 less the umask), a symbolic link stays a link and its target is
// replaced, a device is written to. Other hard links keep the old content.
//
// A file that can't be replaced, because it is a mount of its own or its folder is read-only, is
// overwritten in place: room is reserved first, and one write puts the new text over the old one,
// with line feeds over what the old one had more.
bool SaveFile(const std::string& path, std::string_view text);

// The same for a file whose temporary neighbour has a name of its own; what is there under that
// name is removed first. Links are not followed: `path` itself is replaced. When the new file can't
// take the old one's place, it stays under its temporary name.
bool SaveFileThrough(const std::string& temporary, const std::string& path, std::string_view text);
