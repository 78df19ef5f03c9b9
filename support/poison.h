// Included last by every driver source: the driver has no C runtime, and a call into one
// should fail at compile time rather than at the link check.
#pragma once

#pragma GCC poison malloc calloc realloc free printf sprintf snprintf vsnprintf puts fopen
#pragma GCC poison strlen strcpy strcat strcmp strncmp strchr strstr wcslen atoi strtol exit
