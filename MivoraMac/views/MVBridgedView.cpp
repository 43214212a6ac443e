#include "MivoraMac/views/MVBridgedView.h"

MVBridgedView::~MVBridgedView() = default;
