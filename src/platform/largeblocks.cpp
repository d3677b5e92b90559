#include "platform/largeblocks.h"

#include <malloc.h>

void returnLargeBlocksWhenFreed()
{
    // Setting it also turns off the threshold's adjustment.
    mallopt(M_MMAP_THRESHOLD, 128 * 1024);
}
