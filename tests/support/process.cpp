#include "process.h"
