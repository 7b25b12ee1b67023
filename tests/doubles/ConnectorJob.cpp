#include "doubles/ConnectorJob.h"

#include "doubles/FailingHeap.h"

extern "C" JNIEXPORT void JNICALL
Java_com_orvanta_connector_common_ovwallet_WalletCaller_performSubstitutions(JNIEnv*, jclass,
                                                                             jobject, jstring);

namespace {

constexpr const char* kConfiguration = "org/apache/hadoop/conf/Configuration";
constexpr const char* kJobContext = "org/apache/hadoop/mapreduce/JobContext";
constexpr const char* kJob = "org/apache/hadoop/mapreduce/Job";
constexpr const char* kPlugIn = "com/orvanta/connector/orvanta/utils/OrvantaPlugInConfiguration";
constexpr const char* kCharsets = "com/orvanta/connector/common/utils/StandardCharsets";
constexpr const char* kCharset = "java/nio/charset/Charset";
constexpr const char* kRuntimeException = "java/lang/RuntimeException";

}  // namespace

ConnectorJob::ConnectorJob(StrictJni& jvm) : jvm_(&jvm) {
    jvm.defineClass("com/orvanta/connector/common/exception/ConnectorException",
                    "java/lang/Throwable");
    jvm.defineClass("com/orvanta/connector/common/ovwallet/WalletCaller");
    jvm.defineClass(kConfiguration);
    jvm.defineClass(kJobContext);
    jvm.defineClass(kJob, kJobContext);
    jvm.defineClass(kCharset);
    jvm.defineClass(kCharsets);
    jvm.defineClass(kPlugIn);
    configuration_ = jvm.newObject(kConfiguration, "configuration");
    jobContext_ = jvm.newObject(kJob, "job");
    jvm.defineMethod(kJobContext, "getConfiguration", "()Lorg/apache/hadoop/conf/Configuration;",
                     false, [this](JavaObject*, const auto&) {
                         const bool isNull = failsIn("getConfiguration") || !hasConfiguration;
                         return isNull ? nullptr : configuration_;
                     });
    jvm.defineStaticField(kCharsets, "UTF_8", "Ljava/nio/charset/Charset;",
                          jvm.newObject(kCharset, "UTF_8"));
    jvm.defineMethod("java/lang/String", "getBytes", "(Ljava/nio/charset/Charset;)[B", false,
                     [this](JavaObject* text, const auto& arguments) -> JavaObject* {
                         if (failsIn("getBytes")) {
                             return nullptr;
                         }
                         if (arguments[0] == nullptr) {
                             jvm_->throwJava("java/lang/NullPointerException", "charset");
                             return nullptr;
                         }
                         return jvm_->newByteArray(text->bytes, "bytes of " + text->label);
                     });
    for (const std::string side : {"Input", "Output"}) {
        defineUrl(side + "JdbcUrl");
        defineProperty(side + "OrvantaUserName");
        defineProperty(side + "OrvantaPassword");
    }
}

bool ConnectorJob::failsIn(const std::string& method) {
    if (onJavaMethod) {
        onJavaMethod(method);
    }
    if (!throwingMethods.contains(method)) {
        return false;
    }
    jvm_->throwJava(kRuntimeException, method + " failed");
    return true;
}

void ConnectorJob::defineUrl(const std::string& name) {
    jvm_->defineMethod(kPlugIn, "get" + name,
                       "(Lorg/apache/hadoop/conf/Configuration;)Ljava/lang/String;", true,
                       [this, name](JavaObject*, const auto&) -> JavaObject* {
                           if (failsIn("get" + name) || !properties[name]) {
                               return nullptr;
                           }
                           return jvm_->newString(*properties[name], name);
                       });
}

void ConnectorJob::defineProperty(const std::string& name) {
    jvm_->defineMethod(kPlugIn, "get" + name, "(Lorg/apache/hadoop/mapreduce/JobContext;)[B", true,
                       [this, name](JavaObject*, const auto&) -> JavaObject* {
                           if (failsIn("get" + name) || !properties[name]) {
                               return nullptr;
                           }
                           return jvm_->newByteArray(*properties[name], name);
                       });
    jvm_->defineMethod(
        kPlugIn, "set" + name, "(Lorg/apache/hadoop/mapreduce/JobContext;[B)V", true,
        [this, name](JavaObject*, const std::vector<JavaObject*>& arguments) -> JavaObject* {
            if (!failsIn("set" + name)) {
                properties[name] = arguments[1]->bytes;
            }
            return nullptr;
        });
}

jstring ConnectorJob::stringReference(const std::optional<std::string>& text,
                                      const std::string& label) {
    return jvm_->reference<jstring>(text ? jvm_->newString(*text, label) : nullptr);
}

std::string ConnectorJob::call(JavaObject* jobContext,
                               const std::optional<std::string>& privateTempDir) {
    return jvm_->inNativeFrame([&] {
        const jobject job = jvm_->reference(jobContext);
        const jstring directory = stringReference(privateTempDir, "private temporary directory");
        const FailingHeap heap(failingAllocation);
        Java_com_orvanta_connector_common_ovwallet_WalletCaller_performSubstitutions(
            jvm_->env(), nullptr, job, directory);
        allocationFailed = heap.failed();
    });
}

std::string ConnectorJob::performSubstitutions(const std::optional<std::string>& privateTempDir) {
    return call(jobContext_, privateTempDir);
}

std::string ConnectorJob::performSubstitutionsWithoutJob(const std::string& privateTempDir) {
    return call(nullptr, privateTempDir);
}
