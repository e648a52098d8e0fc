// Compiles the two headers that have no code of their own.
#include "app/model/Observable.h"

#include "app/model/KeyValueStore.h"
