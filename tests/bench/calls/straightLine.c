/* The yardstick: what a warm call of the library does, written straight down.
 *
 * It makes the Java, wallet and system calls of a warm call in their order, with the values of the
 * benchmark's job in mind: no lock, no pool, no counting of uses, no failure that is told apart.
 * Where something is not as expected, the process is aborted. The set-up of a process's first call
 * is left to the library, in whose place it stands: it starts from that one's file.
 *
 * What only the wallet's software does, opening its library included, can be called alone.
 */
#ifndef _GNU_SOURCE
#define _GNU_SOURCE
#endif
#include <dlfcn.h>
#include <fcntl.h>
#include <jni.h>
#include <limits.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

enum { kPage = 4096, kMost = 512 };

static const char* const kEntryPoints[] = {
#define WALLET_ENTRY(ordinal, discipline, result, name, parameters, arguments) #name,
#define WALLET_ENTRY_UNWRAPPED(ordinal, result, name, parameters) #name,
#include "wallet/EntryPoints.def"
};

/* Where in the table an entry point stands. */
enum {
#define WALLET_ENTRY(ordinal, discipline, result, name, parameters, arguments) k_##name,
#define WALLET_ENTRY_UNWRAPPED(ordinal, result, name, parameters) k_##name,
#include "wallet/EntryPoints.def"
    kEntryPointCount
};

/* The client library while it is open. */
struct Software {
    void* library;
    void* entries[kEntryPointCount];
    void* (*open)(void** wallet);
    void* (*get)(void* wallet, const char* name, void** value);
    uint8_t* (*bytes)(void* value);
    uint32_t (*size)(void* value);
    void (*freeValue)(void* value);
    void (*freeWallet)(void* wallet);
};

static void require(int condition, const char* what) {
    if (!condition) {
        fprintf(stderr, "straightLine: %s\n", what);
        abort();
    }
}

static void openSoftware(struct Software* software, const char* pathname) {
    software->library = dlopen(pathname, RTLD_LAZY);
    require(software->library != NULL, "dlopen failed");
    for (int i = 0; i < kEntryPointCount; ++i) {
        software->entries[i] = dlsym(software->library, kEntryPoints[i]);
        require(software->entries[i] != NULL, kEntryPoints[i]);
    }
    *(void**)&software->open = software->entries[k_OvWalletFactory_generateOvWalletV1];
    *(void**)&software->get = software->entries[k_OvWallet_getStringValue];
    *(void**)&software->bytes = software->entries[k_OvWallet_getPtrLockedUTF8Vector];
    *(void**)&software->size = software->entries[k_OvWallet_getSizeLockedUTF8Vector];
    *(void**)&software->freeValue = software->entries[k_OvWallet_freeLockedUTF8Vector];
    *(void**)&software->freeWallet = software->entries[k_OvWallet_freeV1];
}

/* Where the shipped file lies in memory. It is looked for in place of this very library: how much
 * of the memory map has to be read depends on where the file is. */
static uintptr_t place;

static uintptr_t address(const char** at) {
    uintptr_t number = 0;
    for (; **at != '-' && **at != ' '; ++*at) {
        number = number << 4 | (uintptr_t)(**at <= '9' ? **at - '0' : **at - 'a' + 10);
    }
    ++*at;
    return number;
}

/* The shipped file's pathname, from the memory map. */
static void findOwnFile(char* pathname) {
    const int map = open("/proc/self/maps", O_RDONLY | O_CLOEXEC);
    char text[2 * kPage];
    size_t kept = 0;
    for (;;) {
        const ssize_t length = read(map, text + kept, kPage);
        require(length > 0, "no line of the memory map is ours");
        char* const end = text + kept + length;
        char* line = text;
        for (char* newline = NULL; (newline = memchr(line, '\n', (size_t)(end - line))) != NULL;
             line = newline + 1) {
            const char* const name = memchr(line, '/', (size_t)(newline - line));
            if (name == NULL) {
                continue;
            }
            const char* at = line;
            const uintptr_t begin = address(&at);
            if (begin <= place && place < address(&at)) {
                memcpy(pathname, name, (size_t)(newline - name));
                pathname[newline - name] = '\0';
                close(map);
                return;
            }
        }
        kept = (size_t)(end - line);
        require(kept <= kPage, "a line of the memory map is too long");
        memmove(text, line, kept);
    }
}

static void findSoftware(char* pathname) {
    char own[PATH_MAX];
    char link[PATH_MAX];
    char client[PATH_MAX];
    findOwnFile(own);
    require(readlink(own, link, sizeof link) < 0, "the file is a link");
    strcpy(strrchr(own, '/') + 1, "ovwalletdir");
    const ssize_t length = readlink(own, link, sizeof link - sizeof "/..");
    require(length > 0, "there is no link ovwalletdir");
    strcpy(link + length, "/..");
    require(realpath(link, client) != NULL, "there is no client directory");
    require(getuid() == geteuid(), "the effective user is another one");
    strcat(client, "/14.10/ovwallet/redhatlinux-x8664/libovwallet.so");
    require(realpath(client, pathname) != NULL, "there is no client library");
}

/* The text of one property is built here, in locked memory. */
struct Text {
    size_t size;
    char bytes[kMost];
};

static void insertValue(const struct Software* software, void* wallet, struct Text* text,
                        const char* name, size_t begin, size_t end) {
    void* value = NULL;
    require(software->get(wallet, name, &value) == NULL, "a value is not to be had");
    const uint8_t* const bytes = software->bytes(value);
    const uint32_t size = software->size(value);
    require(text->size - (end - begin) + size <= kMost, "a text is too long");
    memmove(text->bytes + begin + size, text->bytes + end, text->size - end);
    memcpy(text->bytes + begin, bytes, size);
    text->size = text->size - (end - begin) + size;
    software->freeValue(value);
}

static void expand(const struct Software* software, void* wallet, struct Text* text,
                   const char* databaseId, size_t databaseIdSize) {
    static const char kKeyword[] = "$ovwallet(";
    static const char kMacro[] = "$(ovpid)";
    for (;;) {
        const char* const found = memmem(text->bytes, text->size, kKeyword, sizeof kKeyword - 1);
        if (found == NULL) {
            return;
        }
        char name[kMost];
        size_t length = 0;
        const char* at = found + sizeof kKeyword - 1;
        while (*at != ')') {
            if (memcmp(at, kMacro, sizeof kMacro - 1) == 0) {
                memcpy(name + length, databaseId, databaseIdSize);
                length += databaseIdSize;
                at += sizeof kMacro - 1;
            } else {
                name[length++] = *at++;
            }
        }
        name[length] = '\0';
        insertValue(software, wallet, text, name, (size_t)(found - text->bytes),
                    (size_t)(at + 1 - text->bytes));
    }
}

static void check(JNIEnv* env) {
    require(!(*env)->ExceptionCheck(env), "there is a Java exception");
}

static jclass class(JNIEnv* env, const char* name) {
    const jclass found = (*env)->FindClass(env, name);
    check(env);
    return found;
}

struct Java {
    JNIEnv* env;
    jobject job;
    jobject configuration;
    jclass plugIn;
    jobject utf8;
    jmethodID getBytes;
};

static void lookUp(struct Java* java) {
    JNIEnv* const env = java->env;
    const jclass job = class(env, "org/apache/hadoop/mapreduce/JobContext");
    const jmethodID getConfiguration = (*env)->GetMethodID(
        env, job, "getConfiguration", "()Lorg/apache/hadoop/conf/Configuration;");
    check(env);
    java->configuration = (*env)->CallObjectMethod(env, java->job, getConfiguration);
    check(env);
    java->plugIn = class(env, "com/orvanta/connector/orvanta/utils/OrvantaPlugInConfiguration");
    const jclass charsets = class(env, "com/orvanta/connector/common/utils/StandardCharsets");
    const jfieldID field =
        (*env)->GetStaticFieldID(env, charsets, "UTF_8", "Ljava/nio/charset/Charset;");
    check(env);
    java->utf8 = (*env)->GetStaticObjectField(env, charsets, field);
    const jclass string = class(env, "java/lang/String");
    java->getBytes = (*env)->GetMethodID(env, string, "getBytes", "(Ljava/nio/charset/Charset;)[B");
    check(env);
}

static jobject get(const struct Java* java, const char* name, const char* signature,
                   jobject argument) {
    JNIEnv* const env = java->env;
    const jmethodID getter = (*env)->GetStaticMethodID(env, java->plugIn, name, signature);
    check(env);
    const jobject result = (*env)->CallStaticObjectMethod(env, java->plugIn, getter, argument);
    check(env);
    return result;
}

static void readBytes(JNIEnv* env, jbyteArray array, struct Text* text) {
    text->size = (size_t)(*env)->GetArrayLength(env, array);
    require(text->size <= kMost, "a text is too long");
    (*env)->GetByteArrayRegion(env, array, 0, (jsize)text->size, (jbyte*)text->bytes);
    check(env);
}

static void property(const struct Java* java, const struct Software* software, void* wallet,
                     const char* getter, const char* setter, const struct Text* url,
                     struct Text* text) {
    static const char kPrefix[] = "jdbc:orvanta://";
    JNIEnv* const env = java->env;
    const jbyteArray old =
        get(java, getter, "(Lorg/apache/hadoop/mapreduce/JobContext;)[B", java->job);
    readBytes(env, old, text);
    const char* const databaseId = url->bytes + sizeof kPrefix - 1;
    const char* const slash = memchr(databaseId, '/', url->size - (sizeof kPrefix - 1));
    require(slash != NULL, "the URL is not the benchmark's");
    expand(software, wallet, text, databaseId, (size_t)(slash - databaseId));
    const jbyteArray array = (*env)->NewByteArray(env, (jsize)text->size);
    require(array != NULL, "there is no room for an array");
    (*env)->SetByteArrayRegion(env, array, 0, (jsize)text->size, (const jbyte*)text->bytes);
    check(env);
    const jmethodID method = (*env)->GetStaticMethodID(
        env, java->plugIn, setter, "(Lorg/apache/hadoop/mapreduce/JobContext;[B)V");
    check(env);
    (*env)->CallStaticVoidMethod(env, java->plugIn, method, java->job, array);
    check(env);
    (*env)->DeleteLocalRef(env, array);
}

/* The side's methods: the URL's getter, and getter and setter of user name and of password. */
static void side(const struct Java* java, const struct Software* software, void* wallet,
                 const char* const methods[5]) {
    JNIEnv* const env = java->env;
    const jobject url =
        get(java, methods[0], "(Lorg/apache/hadoop/conf/Configuration;)Ljava/lang/String;",
            java->configuration);
    const jbyteArray urlBytes = (*env)->CallObjectMethod(env, url, java->getBytes, java->utf8);
    check(env);
    /* A page, wherever the heap puts it, and locked for as long as a side takes. */
    const jsize length = (*env)->GetArrayLength(env, urlBytes);
    require(length <= kMost, "the URL is too long");
    const size_t total = (size_t)length + 2 * kPage;
    char* const raw = malloc(total);
    require(raw != NULL, "there is no memory");
    char* const start = (char*)(((uintptr_t)raw + kPage - 1) / kPage * kPage);
    const size_t locked = (size_t)(raw + total - start) / kPage * kPage;
    require(mlock(start, locked) == 0, "memory cannot be locked");
    struct Text* const urlText = (struct Text*)start;
    struct Text* const text = urlText + 1;
    (*env)->GetByteArrayRegion(env, urlBytes, 0, length, (jbyte*)urlText->bytes);
    check(env);
    urlText->size = (size_t)length;
    property(java, software, wallet, methods[1], methods[2], urlText, text);
    property(java, software, wallet, methods[3], methods[4], urlText, text);
    munlock(start, locked);
    free(raw);
}

JNIEXPORT void JNICALL Java_walletcaller_bench_StraightLine_standInFor(JNIEnv* env, jclass caller,
                                                                       jstring library) {
    (void)caller;
    const char* const pathname = (*env)->GetStringUTFChars(env, library, NULL);
    void* const file = dlopen(pathname, RTLD_LAZY | RTLD_NOLOAD);
    require(file != NULL, "the library is not loaded");
    place = (uintptr_t)dlsym(
        file, "Java_com_orvanta_connector_common_ovwallet_WalletCaller_performSubstitutions");
    dlclose(file);
    (*env)->ReleaseStringUTFChars(env, library, pathname);
}

JNIEXPORT void JNICALL Java_walletcaller_bench_StraightLine_performSubstitutions(JNIEnv* env,
                                                                                 jclass caller,
                                                                                 jobject job) {
    (void)caller;
    static const char* const kInput[5] = {"getInputJdbcUrl", "getInputOrvantaUserName",
                                          "setInputOrvantaUserName", "getInputOrvantaPassword",
                                          "setInputOrvantaPassword"};
    static const char* const kOutput[5] = {"getOutputJdbcUrl", "getOutputOrvantaUserName",
                                           "setOutputOrvantaUserName", "getOutputOrvantaPassword",
                                           "setOutputOrvantaPassword"};
    struct Java java = {.env = env, .job = job};
    lookUp(&java);
    char pathname[PATH_MAX];
    findSoftware(pathname);
    struct Software software;
    openSoftware(&software, pathname);
    void* wallet = NULL;
    require(software.open(&wallet) == NULL, "the wallet cannot be opened");
    side(&java, &software, wallet, kInput);
    side(&java, &software, wallet, kOutput);
    software.freeWallet(wallet);
    require(dlclose(software.library) == 0, "dlclose failed");
}

/* The client library is opened, asked for the four values, and closed: the part of a call that is
 * the wallet's. */
JNIEXPORT void JNICALL Java_walletcaller_bench_StraightLine_useWallet(JNIEnv* env, jclass caller,
                                                                      jstring pathname,
                                                                      jobjectArray names) {
    (void)caller;
    const char* const library = (*env)->GetStringUTFChars(env, pathname, NULL);
    struct Software software;
    openSoftware(&software, library);
    void* wallet = NULL;
    require(software.open(&wallet) == NULL, "the wallet cannot be opened");
    for (jsize i = 0; i < (*env)->GetArrayLength(env, names); ++i) {
        const jstring name = (*env)->GetObjectArrayElement(env, names, i);
        const char* const characters = (*env)->GetStringUTFChars(env, name, NULL);
        void* value = NULL;
        require(software.get(wallet, characters, &value) == NULL, "a value is not to be had");
        require(software.bytes(value) != NULL && software.size(value) != 0, "a value is empty");
        software.freeValue(value);
        (*env)->ReleaseStringUTFChars(env, name, characters);
    }
    software.freeWallet(wallet);
    require(dlclose(software.library) == 0, "dlclose failed");
    (*env)->ReleaseStringUTFChars(env, pathname, library);
}
