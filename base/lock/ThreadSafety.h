// Marks that let clang check who may touch what under which lock; empty for other compilers.
#pragma once

#if defined(__clang__)
#define ORV_THREAD_MARK(mark) __attribute__((mark))
#else
#define ORV_THREAD_MARK(mark)
#endif

#define ORV_CAPABILITY ORV_THREAD_MARK(capability("mutex"))
#define ORV_SCOPED_CAPABILITY ORV_THREAD_MARK(scoped_lockable)
#define ORV_GUARDED_BY(lock) ORV_THREAD_MARK(guarded_by(lock))
#define ORV_REQUIRES(...) ORV_THREAD_MARK(requires_capability(__VA_ARGS__))
#define ORV_ACQUIRE(...) ORV_THREAD_MARK(acquire_capability(__VA_ARGS__))
#define ORV_TRY_ACQUIRE(...) ORV_THREAD_MARK(try_acquire_capability(__VA_ARGS__))
#define ORV_RELEASE(...) ORV_THREAD_MARK(release_capability(__VA_ARGS__))
#define ORV_ASSERTS_HELD(lock) ORV_THREAD_MARK(assert_capability(lock))
#define ORV_NO_THREAD_CHECK ORV_THREAD_MARK(no_thread_safety_analysis)
