// The hardware configuration store (libhwconfigurationutil.so): feature -> key -> integers, fixed while the phone runs.
// The counts and values come from a file on the phone: the library trusts none of them.
#pragma once

// Number of keys under `feature`; 0 means that the device does not have the feature.
unsigned int GetKeyCount(char const* feature);

// Number of values under `key`; 0 when there are none.
unsigned int GetValuesCount(char const* feature, char const* key);

// Stores the integer under `key` into `*value` and returns 0; any other result means that the key is missing, and
// `*value` is not to be used.
int GetIntegerConfiguration(char const* feature, char const* key, int* value);

// Stores the first `count` integers under `key` into `values` and returns 0; any other result is a failure, and
// `values` is not to be used.
int GetIntegerListConfiguration(char const* feature, char const* key, int* values, unsigned int count);
