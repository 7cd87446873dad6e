// Marks for clang's thread-safety analysis; they vanish under any other compiler.
#pragma once

#if defined(__clang__)
#define KTR_THREAD_MARK(x) __attribute__((x))
#else
#define KTR_THREAD_MARK(x)
#endif

#define KTR_CAPABILITY(name) KTR_THREAD_MARK(capability(name))
#define KTR_SCOPED_CAPABILITY KTR_THREAD_MARK(scoped_lockable)
#define KTR_GUARDED_BY(mutex) KTR_THREAD_MARK(guarded_by(mutex))
#define KTR_PT_GUARDED_BY(mutex) KTR_THREAD_MARK(pt_guarded_by(mutex))
#define KTR_ACQUIRE(...) KTR_THREAD_MARK(acquire_capability(__VA_ARGS__))
#define KTR_RELEASE(...) KTR_THREAD_MARK(release_capability(__VA_ARGS__))
#define KTR_REQUIRES(...) KTR_THREAD_MARK(requires_capability(__VA_ARGS__))
#define KTR_EXCLUDES(...) KTR_THREAD_MARK(locks_excluded(__VA_ARGS__))
#define KTR_NO_THREAD_SAFETY_ANALYSIS KTR_THREAD_MARK(no_thread_safety_analysis)
