#pragma once

// NSBundle(YarkitNSBundleWithCompatibility), NSBundle(YarkitPlugInsExtensions) and
// NSBundle(YarkitCFExtensions): information, plug-ins of the program and symbols of a bundle's
// code. Free functions; any thread.

#include <Yarkit/core/system/Bundle.h>

namespace yk {

[[nodiscard]] Ref<Dictionary> YK_localizedInfoDictionary(const Bundle* bundle);
// Null for a null key.
[[nodiscard]] Ref<Object> YK_objectForInfoDictionaryKey(const Bundle* bundle, const String* key);

// +pluginBundleNamed: in the main bundle's built-in plug-ins folder, the name as given, then
// with the extension "plugin", then "bundle"; the first folder that exists. Null when none does.
[[nodiscard]] Ref<Bundle> pluginBundleNamed(const String* name);
// +pluginClassNamed:inBundleNamed: the plug-in loaded when needed, then its classNamed:.
Class* pluginClassNamed(const String* className, const String* bundleName);

// YK_functionPointerForName: a symbol of the bundle's loaded code, or null.
void* YK_functionPointerForName(const Bundle* bundle, const String* name);

} // namespace yk
