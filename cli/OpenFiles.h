// A quick end of a program with large unfinished files.
#pragma once

namespace OrvaneHost {

/// Starts a process that keeps the regular files of this one open and ends after it.
///
/// Space of a file goes back to the system when nobody has the file open any more; of gigabytes on
/// their way to the disk that takes seconds. Closing and removing them costs this process nothing
/// as long as the other one has them open, so that it ends at once, and the space follows.
///
/// May be called by a signal handler, from any thread. Without room for another process nothing
/// happens, and the end takes longer. The other process does nothing but wait; it has neither the
/// standard streams, unless they are files, nor a connection of this one.
void HoldOpenFiles() noexcept;

} // namespace OrvaneHost
