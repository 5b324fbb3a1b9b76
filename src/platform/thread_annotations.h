// What a lock guards, said in the declaration: clang checks it, other compilers see nothing.
#pragma once

#if defined(__clang__)
#define UAB_ANNOTATION(x) __attribute__((x))
#else
#define UAB_ANNOTATION(x)
#endif

#define UAB_CAPABILITY(name) UAB_ANNOTATION(capability(name))
#define UAB_SCOPED_CAPABILITY UAB_ANNOTATION(scoped_lockable)
#define UAB_GUARDED_BY(section) UAB_ANNOTATION(guarded_by(section))
#define UAB_REQUIRES(...) UAB_ANNOTATION(requires_capability(__VA_ARGS__))
#define UAB_ACQUIRE(...) UAB_ANNOTATION(acquire_capability(__VA_ARGS__))
#define UAB_RELEASE(...) UAB_ANNOTATION(release_capability(__VA_ARGS__))
