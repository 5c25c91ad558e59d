#include "xvfb.h"
