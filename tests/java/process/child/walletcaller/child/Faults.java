package walletcaller.child;

/** Makes one of the Java methods that native code calls throw. */
final class Faults {
    private static volatile String method;
    private static volatile RuntimeException thrown;

    private Faults() {}

    /** From now on the method of that name throws when native code calls it; null: none does. */
    static void throwIn(String methodName) {
        method = methodName;
        thrown = null;
    }

    /** The exception that was thrown last, or null. */
    static RuntimeException thrown() {
        return thrown;
    }

    static void strikeIfDue() {
        if (method != null && method.equals(calledByNativeCode())) {
            thrown = new IllegalStateException("thrown by " + method);
            throw thrown;
        }
    }

    /** The name of the method through which native code came here, or null if it did not. */
    private static String calledByNativeCode() {
        String called = null;
        for (StackTraceElement frame : new Throwable().getStackTrace()) {
            if (frame.isNativeMethod() && frame.getMethodName().equals("performSubstitutions")) {
                return called;
            }
            called = frame.getMethodName();
        }
        return null;
    }
}
