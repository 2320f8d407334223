#pragma once

/// The interface of the library that makes system calls fail. Linked first, or named in LD_PRELOAD,
/// the library stands between a program, Qt and Python included, and the C library. Linux only, where the tests run.
///
/// A program whose code is not ours is told by its environment instead: NELO_FAULT, "program:kind:number:outcome", does
/// from the start of each program of that name what `nelo_faults_arm` does, and the file NELO_FAULT_STRUCK names is
/// made when the call was reached.
extern "C" {

/// An outcome beyond every errno: SIGKILL.
enum { NELO_FAULT_KILL = 4096 };

/// From now on the calls of `kind` that any thread of this process makes are counted, and the `number`th, from 1, has
/// the `outcome`: it fails with an errno; or, of a write, 0 takes half of the bytes; or a negative errno takes half of
/// them, after which the next write fails with it, as on a disk that is full; or `NELO_FAULT_KILL` kills the process
/// in its place. A number of 0 only counts. Other kinds stay as they are.
///
/// The kinds: "open", "write", "sync", "rename" and "link" for files, and "unnamed" for the opening of those that have
/// no name yet; "write" for pipes; "socket", "connect" and "send" for sockets; "pipe", "spawn", "thread" and "map" for
/// the process. An unknown kind ends the program.
void nelo_faults_arm(const char* kind, int number, int outcome);

/// The same, and all calls of the kind after that one have the outcome too.
void nelo_faults_arm_from(const char* kind, int number, int outcome);

/// Lets every call of the kind through again. Returns how many there were since it was armed.
int nelo_faults_disarm(const char* kind);
}
