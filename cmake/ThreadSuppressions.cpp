// Read by ThreadSanitizer when a program begins.

extern "C" __attribute__((visibility("default"))) const char *__tsan_default_suppressions();

const char *__tsan_default_suppressions() {
  // The Objective-C runtime sends +initialize with its lock held, and Foundation's classes take locks of their own
  // there; elsewhere they take them in the opposite order. All that reaches both here waits for the filter's turn
  // first.
  return "deadlock:libobjc.so\n"
         "deadlock:libgnustep-base.so\n";
}
