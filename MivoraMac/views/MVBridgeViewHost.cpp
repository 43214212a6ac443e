#include "MivoraMac/views/MVBridgeViewHost.h"

MVBridgeViewHost::~MVBridgeViewHost() = default;
