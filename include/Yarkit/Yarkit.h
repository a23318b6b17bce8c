#pragma once

// The umbrella header: everything an application uses from Yarkit.

#include <Yarkit/core/Class.h>
#include <Yarkit/core/Imp.h>
#include <Yarkit/core/Invocation.h>
#include <Yarkit/core/MethodSignature.h>
#include <Yarkit/core/Object.h>
#include <Yarkit/core/Range.h>
#include <Yarkit/core/Ref.h>
#include <Yarkit/core/Selector.h>
#include <Yarkit/core/String.h>
#include <Yarkit/core/StringEncoding.h>
