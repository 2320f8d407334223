#pragma once

/// What a test program says to the library that makes calls of the system fail. Linked first, or named in LD_PRELOAD,
/// the library stands between a program, Qt and Python included, and the C library. Linux only, where the tests run.
///
/// A program whose code is not ours is told by its environment instead: NELO_FAULT, "program:kind:number:outcome", does
/// from the start of each program of that name what `nelo_faults_arm` does, and the file NELO_FAULT_STRUCK names is
/// made when the call was reached.
extern "C" {

/// From now on the calls of `kind` that any thread of this process makes are counted, and the `number`th, from 1, has
/// the `outcome`: it fails with an errno; or, of a write, 0 takes half of the bytes; or a negative errno takes half of
/// them, after which the next write fails with it, as on a disk that is full. A number of 0 only counts.
///
/// The kinds: "open", "write", "sync", "rename" and "link" for files, and "unnamed" for the opening of those that have
/// no name yet; "connect" and again "write" for sockets; "pipe", "spawn", "thread" and "map" for the process. An
/// unknown kind ends the program.
void nelo_faults_arm(const char* kind, int number, int outcome);

/// Lets every call through again. Returns how many calls of the kind there were since it was armed.
int nelo_faults_disarm(void);
}
