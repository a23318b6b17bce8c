#pragma once

// The umbrella header: everything an application uses from Yarkit.

#include <Yarkit/ClassCompatibility.h>
#include <Yarkit/MethodReplacement.h>
#include <Yarkit/ObjectAbstractMethods.h>
#include <Yarkit/ObjectAdditions.h>
#include <Yarkit/YIRefObject.h>
#include <Yarkit/YObject.h>
#include <Yarkit/YPostLoadProcessor.h>
#include <Yarkit/core/Array.h>
#include <Yarkit/core/Class.h>
#include <Yarkit/core/Data.h>
#include <Yarkit/core/Date.h>
#include <Yarkit/core/Dictionary.h>
#include <Yarkit/core/Error.h>
#include <Yarkit/core/Exception.h>
#include <Yarkit/core/Format.h>
#include <Yarkit/core/Imp.h>
#include <Yarkit/core/Invocation.h>
#include <Yarkit/core/Log.h>
#include <Yarkit/core/MethodSignature.h>
#include <Yarkit/core/MutableArray.h>
#include <Yarkit/core/MutableData.h>
#include <Yarkit/core/MutableDictionary.h>
#include <Yarkit/core/MutableSet.h>
#include <Yarkit/core/MutableString.h>
#include <Yarkit/core/Null.h>
#include <Yarkit/core/Number.h>
#include <Yarkit/core/Object.h>
#include <Yarkit/core/Range.h>
#include <Yarkit/core/Ref.h>
#include <Yarkit/core/Selector.h>
#include <Yarkit/core/Set.h>
#include <Yarkit/core/String.h>
#include <Yarkit/core/StringEncoding.h>
#include <Yarkit/core/Value.h>
