// Empty: generated code includes this header for builds that do not exist on a workstation.
#pragma once
