// A second exported name of a routine with C linkage: one address, checked against the declaration that the
// public header gives the name.
#pragma once

#define QOR_SECOND_NAME(name, routine) decltype(routine) name __attribute__((alias(#routine)))
