// Opens each of the named libraries alone, as a program with plug-ins does.
#include <cstdio>
#include <dlfcn.h>

int main(int count, char** names) {
  for (int i = 1; i < count; ++i) {
    void* library = dlopen(names[i], RTLD_NOW | RTLD_LOCAL);
    if (!library) {
      std::fprintf(stderr, "%s\n", dlerror());
      return 1;
    }
    std::printf("%s opened\n", names[i]);
    dlclose(library);
  }
  return count > 1 ? 0 : 1;
}
