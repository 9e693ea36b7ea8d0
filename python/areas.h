// The areas of the API; each defines its classes and factories.
#pragma once

#include "values.h"

void defineMotion(py::module_& module);
void defineCameras(py::module_& module);
void defineControllers(py::module_& module);
void defineEnvironment(py::module_& module);
