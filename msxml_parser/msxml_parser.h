// Everything the component offers. Threads: see each header.
#pragma once

#include "framework/object/needscxx20.h"  // first

#include "framework/object/iptr.h"
#include "msxml_parser/entrypoint.h"
#include "msxml_parser/ikeldomxml.h"
#include "msxml_parser/ikeldomxmlelement.h"
#include "msxml_parser/ikeldomxmlelementitr.h"
#include "msxml_parser/ikeldomxmlelementitrv2.h"
#include "msxml_parser/ikeldomxmlelementv2.h"
#include "msxml_parser/ikeldomxmlerror.h"
#include "msxml_parser/ikeldomxmlnodeitr.h"
#include "msxml_parser/ikeldomxmlv3.h"
#include "msxml_parser/ikelsaxxml.h"
#include "msxml_parser/ikelsaxxmlerror.h"
#include "msxml_parser/ikelsaxxmlhandler.h"
#include "msxml_parser/ikelsaxxmlhandlerv2.h"
#include "msxml_parser/ikelsaxxmlv3.h"
#include "msxml_parser/ikelxmlerror.h"
#include "msxml_parser/ikelxmlfactory.h"
#include "msxml_parser/ikelxmlschema.h"
#include "msxml_parser/ikelxslstylesheet.h"
#include "msxml_parser/xmldom.h"
#include "msxml_parser/xmlsax.h"
