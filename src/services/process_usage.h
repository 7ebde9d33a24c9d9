// Which programs are running, according to the /proc/PID/exe links.
#pragma once

// The number of processes running that executable; 0 if there are none or /proc can't be read.
// Links in the path's folders are followed (/sbin on merged systems). An executable that has been
// deleted or replaced since its start still counts. Processes that exit meanwhile, or that may not
// be inspected, are skipped.
int procfs_path_in_use(const char* path);
