// A library whose thread storage has to lie in the static block, as that of many others has to: the
// loader refuses it where too little of the block is left.
static _Thread_local char storage[256] __attribute__((tls_model("initial-exec")));

char* threadStorage(void);

char* threadStorage(void) {
    return storage;
}
