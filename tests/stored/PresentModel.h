// PresentModel.h: a model of geometry, mesh and an exception in the layouts of today
#pragma once

#include <BasicUtils/cls_WritePass.h>

/// Writes objects of the classes that no other stored model of the tests has: together with the datums,
/// regions, references and surfaces of tests/frame/reread.cpp it covers every persistent class.
void WritePresentModel(cls_Database& database);
