// Copies and releases of blocks go through FakeHAL, which counts them, to the real runtime.
#pragma once

extern "C" {

void* countedBlockCopy(const void* block);
void countedBlockRelease(const void* block);
}

#define Block_copy(...) ((__typeof(__VA_ARGS__))countedBlockCopy((const void*)(__VA_ARGS__)))
#define Block_release(...) countedBlockRelease((const void*)(__VA_ARGS__))
