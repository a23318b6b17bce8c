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
class CharacterSet;
class MutableCharacterSet;
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
class AttributedString;

// threads
class Lock;
class RecursiveLock;
class ConditionLock;
class SpinLock;
class Thread;
class RunLoop;
class Port;
class PortMessage;
class Timer;

// system
class Notification;
class NotificationCenter;
class NotificationQueue;
class UserDefaults;
class FileHandle;
class Archiver;
class Unarchiver;
class Bundle;
class TimeZone;
class Locale;
class Calendar;
class Formatter;
class DateFormatter;
class FileManager;
class DirectoryEnumerator;
class Host;
class ProcessInfo;
class URL;

} // namespace yk
