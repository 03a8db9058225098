/* Loads two or more plug-ins, named by the arguments, and calls plugin_register in each. Exits with 0 on success. */
#include <dlfcn.h>
#include <stdio.h>

int main(int argc, char **argv) {
    for (int i = 1; i < argc; i++) {
        void *plugin = dlopen(argv[i], RTLD_NOW | RTLD_GLOBAL);
        int (*plugin_register)(void) = plugin != NULL ? (int (*)(void))dlsym(plugin, "plugin_register") : NULL;
        const int status = plugin_register != NULL ? plugin_register() : 1;
        if (status != 0) {
            printf("%s: %d %s\n", argv[i], status, plugin == NULL ? dlerror() : "");
            return 1;
        }
    }
    return argc < 3;
}
