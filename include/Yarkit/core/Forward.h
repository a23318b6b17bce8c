#pragma once

// Forward declarations of the core's types, for headers that only pass pointers and
// references: including this instead of a class's header keeps a lower layer from depending
// on a higher one.

#include <cstdint>

namespace yk {

// runtime
class Object;
template <typename T>
class Ref;
class Class;
class Selector;
class Imp;
class MethodSignature;
class Invocation;
struct Range;

// values
class String;
class MutableString;
class Data;
class MutableData;
class Array;
class MutableArray;
class Dictionary;
class MutableDictionary;
class Set;
class MutableSet;
class Number;
class Value;
class Null;
class Date;
class Error;
class Exception;

// threads
class Lock;
class RecursiveLock;
class ConditionLock;
class SpinLock;
class Thread;

// system
class Notification;
class NotificationCenter;
class UserDefaults;
class FileHandle;
class Archiver;
class Unarchiver;
class FileManager;
class DirectoryEnumerator;
class Host;
class ProcessInfo;
class URL;

} // namespace yk
