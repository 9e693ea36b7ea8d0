// Generated code includes this by name, for a kind of build that does not exist here.
#pragma once
