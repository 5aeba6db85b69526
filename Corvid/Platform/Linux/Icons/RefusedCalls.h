#pragma once

namespace corvid {

/**
 * From now on the kernel refuses this process to open files and sockets, to run programs and to
 * look into other processes, as if it had no right to. Nothing gives that back. Needs the promise
 * to gain no privileges (PR_SET_NO_NEW_PRIVS). False where the kernel cannot, or we do not know its
 * calls.
 */
bool refuseCalls();

} // namespace corvid
