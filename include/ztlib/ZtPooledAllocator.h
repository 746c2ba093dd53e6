// The pooled allocator: plain functions for small blocks at speed, from any thread.
#pragma once

#include <ztlib/ZtExport.h>

#include <cstddef>

/// A pool: blocks that can all be given back at once, with a value of the client's. The functions
/// without a pool act on the default pool of the process, which is never destroyed; so do the
/// others when they are given null.
///
/// Blocks are aligned to 16 bytes. Functions return null when memory is exhausted (`errno` is then
/// ENOMEM) or a size cannot be put in numbers. Any thread may call them at any time, and free what
/// another took; each keeps some free blocks of up to 32 KiB to itself, up to 64 KiB of a size
/// or four blocks, and gives them to the others when it ends. Freed memory is kept, for 256 MiB of
/// middle and of big blocks each at most (64 MiB with 32-bit addresses), and given back to the
/// system when it was not needed for a few seconds, which is looked after when the pool is used,
/// when memory runs out, and by `nedmalloc_trim`. A process may fork; its child has what the
/// forking thread could reach.
///
/// Freeing a block twice or a block of another allocator is a broken contract, which a checked
/// build reports, and then leaves the block alone.
struct nedpool;

extern "C" {

/// Returns a block of `size` bytes, uninitialised; one that can be freed for a size of 0, too.
ZTLIB_API void* nedmalloc(std::size_t size);
ZTLIB_API void* nedpmalloc(nedpool* pool, std::size_t size);

/// Returns a block for `count` objects of `size` bytes, all 0.
ZTLIB_API void* nedcalloc(std::size_t count, std::size_t size);
ZTLIB_API void* nedpcalloc(nedpool* pool, std::size_t count, std::size_t size);

/// Resizes a block, keeping its bytes up to the smaller size, and returns its new place; null, with
/// the block as it was, when memory is exhausted. A null block makes a new one, a size of 0 frees
/// the block and returns null. The block stays in the pool it is from. A block that grows gets room
/// to grow on, so that growing by a factor moves it seldom.
ZTLIB_API void* nedrealloc(void* block, std::size_t size);
ZTLIB_API void* nedprealloc(nedpool* pool, void* block, std::size_t size);

/// Frees a block, of whatever pool; null is ignored. `nedpfree` expects one of that pool.
ZTLIB_API void nedfree(void* block);
ZTLIB_API void nedpfree(nedpool* pool, void* block);

/// Returns a block at a multiple of `alignment`, which is rounded up to a power of two.
ZTLIB_API void* nedmemalign(std::size_t alignment, std::size_t size);
ZTLIB_API void* nedpmemalign(nedpool* pool, std::size_t alignment, std::size_t size);

/// Sets a parameter and returns 1. There is one, -1: how many bytes of free memory of middle and of
/// big blocks each are kept, below 0 without bound. Any other is refused with 0.
ZTLIB_API int nedmallopt(int parameter, int value);
ZTLIB_API int nedpmallopt(nedpool* pool, int parameter, int value);

/// Gives free memory back to the system, the calling thread's free blocks included, until no more
/// than `pad` bytes of free memory are left. Blocks that other threads keep stay with them. Returns
/// 1 when any was given back, else 0.
ZTLIB_API int nedmalloc_trim(std::size_t pad);
ZTLIB_API int nedpmalloc_trim(nedpool* pool, std::size_t pad);

/// Prints to standard error how many bytes are from the system, in use and kept.
ZTLIB_API void nedmalloc_stats(void);
ZTLIB_API void nedpmalloc_stats(nedpool* pool);

/// Returns the bytes that the system gave and does not have back: of blocks, free memory and
/// records, in whole pages of 64 KiB. Where the system has huge pages, the process may have a
/// little more: the rest of those.
ZTLIB_API std::size_t nedmalloc_footprint(void);
ZTLIB_API std::size_t nedpmalloc_footprint(nedpool* pool);

/// Returns `count` blocks of `size` bytes, all 0, each of which is freed by itself. Their addresses
/// are in `chunks`, or, when that is null, in a block that the caller frees as well. Null when they
/// cannot all be had; none is then taken.
ZTLIB_API void** nedindependent_calloc(std::size_t count, std::size_t size, void** chunks);
ZTLIB_API void** nedpindependent_calloc(nedpool* pool, std::size_t count, std::size_t size,
                                        void** chunks);

/// The same for blocks of `sizes[i]` bytes each, uninitialised.
ZTLIB_API void** nedindependent_comalloc(std::size_t count, std::size_t* sizes, void** chunks);
ZTLIB_API void** nedpindependent_comalloc(nedpool* pool, std::size_t count, std::size_t* sizes,
                                          void** chunks);

/// Returns how many bytes of a block may be used, at least as many as were asked for; 0 for null.
ZTLIB_API std::size_t nedblksize(void* block);

/// Gives the pool a value, null at first, and returns that of the pool a block is from; for a null
/// block, that of the default pool.
ZTLIB_API void nedsetvalue(void* value);
ZTLIB_API void nedpsetvalue(nedpool* pool, void* value);
ZTLIB_API void* nedgetvalue(void* block);

/// Takes from the calling thread what free blocks of the pool it keeps, for good: from then on all
/// its requests go to what all threads share. For threads that use the pool seldom.
ZTLIB_API void neddisablethreadcache(nedpool* pool);

/// Makes a pool with address space for `capacity` bytes of small and middle blocks, which spares it
/// requests to the system; it may grow beyond. `threads` says how many threads are going to use it;
/// any number may. Null when memory is exhausted or there are 4095 pools.
ZTLIB_API nedpool* nedcreatepool(std::size_t capacity, int threads);

/// Frees all blocks of a pool, in use or not, and the pool. Expects that no thread uses the pool or
/// its blocks any more; threads that did may live on. Null and the default pool are left alone.
ZTLIB_API void neddestroypool(nedpool* pool);

}  // extern "C"
