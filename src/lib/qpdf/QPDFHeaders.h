#pragma once

// clang 14 rejects QPDF's JSON class when it reads it as C++20: a member of it is a vector of
// itself. We only need the name.
#if defined(__clang__) && __clang_major__ < 15
#define JSON_HH
class JSON;
#endif

#include <qpdf/Constants.h>

#include <qpdf/Pipeline.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFExc.hh>
#include <qpdf/QPDFLogger.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <qpdf/QPDFWriter.hh>
