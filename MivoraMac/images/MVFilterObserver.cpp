#include "MivoraMac/images/MVFilterObserver.h"

MVFilterObserver::~MVFilterObserver() = default;
