#include "CSocket.h"

CSocket::CSocket() = default;

CSocket::~CSocket() = default;
