// What pixman's own configuration would have found; the same on all targets, so that all draw alike.
#define PACKAGE "pixman"
#define USE_SSE2 1
#define TLS __thread
#define HAVE_BUILTIN_CLZ 1
#define TOOLCHAIN_SUPPORTS_ATTRIBUTE_CONSTRUCTOR 1
#define SIZEOF_LONG __SIZEOF_LONG__
#ifndef _WIN32
#define HAVE_PTHREADS 1
#endif
