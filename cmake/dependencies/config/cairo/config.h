// What cairo's own configuration would have found.
#define SIZEOF_INT __SIZEOF_INT__
#define SIZEOF_LONG __SIZEOF_LONG__
#define SIZEOF_LONG_LONG __SIZEOF_LONG_LONG__
#define SIZEOF_VOID_P __SIZEOF_POINTER__
#define HAVE_STDINT_H 1
#define HAVE_INTTYPES_H 1
#define HAVE_UINT64_T 1
#define HAVE_CXX11_ATOMIC_PRIMITIVES 1
#define HAVE_FT_LOAD_SFNT_TABLE 1
#define HAVE_FT_DONE_MM_VAR 1
#ifdef _WIN32
#define CAIRO_HAS_UTF8_TO_UTF16 1
#else
#define HAVE_UNISTD_H 1
#define CAIRO_HAS_PTHREAD 1
#define CAIRO_HAS_REAL_PTHREAD 1
#endif
