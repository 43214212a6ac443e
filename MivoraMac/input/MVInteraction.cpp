#include "MivoraMac/input/MVInteraction.h"

MVInteraction::~MVInteraction() = default;
