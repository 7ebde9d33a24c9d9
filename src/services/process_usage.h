// Which programs run, seen by the executable links of the processes under /proc.
#pragma once

// How many running processes use that executable; 0 when none does or /proc can't be read. The path
// is compared by what it is: folders that are links (/sbin on merged systems) are followed. An
// executable that has been deleted or replaced since still counts. Processes that end meanwhile
// or may not be looked at are passed over.
int procfs_path_in_use(const char* path);
