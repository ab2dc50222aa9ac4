// A library that stands between the process and its C library, C++ library and FFmpeg, and lets the k-th call of a kind fail.
// Linked before all others, or preloaded.
#pragma once

namespace qmio::test {

// What is counted. Blocks are what allocators give: "ours" are those whose caller lies in the tested library, and in the
// C++ library on its behalf.
enum class Call { our_block, any_block, thread, read, write, seek, open, map, truncate, control, count };

// What such a call comes to: the system's error, a transfer of one byte, EINTR, a result of 0.
enum class Way { error, one_byte, interrupted, nothing };

struct Fault {
    Call call = Call::our_block;
    Way way = Way::error;
    bool for_ever = false;  // from the k-th call on, else that one alone
    long at = 0;            // counted from 1; 0: none
};

}  // namespace qmio::test

extern "C" {
// From now on calls are counted and fail by `fault`, on every thread.
void faults_arm(const qmio::test::Fault* fault);
void faults_disarm();
// How many calls of a kind there were while that lasted.
long faults_calls(qmio::test::Call call);
// Blocks that the tested library has got since faults_watch and that are not given back.
void faults_watch();
long faults_blocks_left();
// For each block that is left where it was asked for, at most `most` of them. Returns how many.
int faults_callers_left(void** callers, int most);
}
