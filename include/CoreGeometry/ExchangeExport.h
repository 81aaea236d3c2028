// ExchangeExport.h: symbol visibility of libCoreGeometryExchange
#pragma once

#define CORE_GEOMETRY_EXCHANGE_API __attribute__((visibility("default")))
