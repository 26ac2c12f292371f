// The plugin is built with hidden visibility; what the runtime and the platform reach by
// name from outside the shared object is marked with AV_PLUGIN_EXPORT.

#ifndef PLUGIN_DEVICE_AV_PLUGIN_AV_EXPORT_H_
#define PLUGIN_DEVICE_AV_PLUGIN_AV_EXPORT_H_

#define AV_PLUGIN_EXPORT __attribute__((visibility("default")))

#endif  // PLUGIN_DEVICE_AV_PLUGIN_AV_EXPORT_H_
