// A small model of what lives in a JVM: classes, methods, static fields, objects.
//
// StrictJni makes and owns all of them. A label is how the record of calls shows an object.
#pragma once

#include <deque>
#include <functional>
#include <string>
#include <vector>

struct JavaClass;

struct JavaObject {
    const JavaClass* type;
    std::string label;
    std::string bytes;                       // of a String its UTF-8 text, of a byte[] its elements
    const JavaClass* represented = nullptr;  // of a java/lang/Class
};

// receiver is null for a static method. A body throws through StrictJni::throwJava.
using JavaMethodBody =
    std::function<JavaObject*(JavaObject* receiver, const std::vector<JavaObject*>& arguments)>;

struct JavaMethod {
    const JavaClass* owner;
    std::string name;
    std::string signature;
    bool isStatic;
    JavaMethodBody body;
};

struct JavaStaticField {
    const JavaClass* owner;
    std::string name;
    std::string signature;
    JavaObject* value;
};

// An interface is modelled as the superclass of the class that implements it.
struct JavaClass {
    std::string name;  // with slashes, "[B" for byte[]
    const JavaClass* superclass;
    std::deque<JavaMethod> methods;
    std::deque<JavaStaticField> staticFields;

    // What stands after the last slash.
    std::string simpleName() const;
    bool isOrExtends(const JavaClass& other) const;
};
