// Read by the sanitizers when a program begins.

#define PYRELUX_EXPORTED extern "C" __attribute__((visibility("default")))

PYRELUX_EXPORTED const char *__lsan_default_suppressions();
PYRELUX_EXPORTED const char *__lsan_default_options();
PYRELUX_EXPORTED const char *__asan_default_options();

const char *__lsan_default_suppressions() {
  // Objects that these libraries keep for the life of the process, libx265 a kilobyte of every encoder, and
  // libxml2 the entities of drawings that define too many; what is allocated while a library is loaded: the filter
  // does so, and its first surface takes the place; and a surface for which memory ran out half-way.
  return "leak:libgnustep-base\n"
         "leak:libgnustep-gui\n"
         "leak:libobjc\n"
         "leak:libfontconfig\n"
         "leak:libx265\n"
         "leak:libxml2\n"
         "leak:ld-linux\n"
         "leak:OffscreenSurface.cpp\n";
}

// Programs are tested for what they write to standard error, too.
const char *__lsan_default_options() { return "print_suppressions=0"; }

// Where a library's thread-local storage begins 16 bytes into a page, by chance, the runtime of GCC 12 takes what
// precedes it for a header of older C libraries, and the search for leaks then reads from nowhere and crashes. So it is
// not told of the storage of libraries that are loaded later.
const char *__asan_default_options() { return "intercept_tls_get_addr=0"; }
