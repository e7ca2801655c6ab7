// Greying of the controls that do not apply.
#pragma once

#include "host/fxenv.h"

namespace vorlin {

/// Shows every dependent control enabled or disabled as the three popups ask, from the values in
/// env.params. Returns the result of the last update; throws when the host has no suite for it.
PF_Err SuperviseControls(Fxenv& env);

/// Shows the control as enabled; one collapsed by an earlier disabling stays collapsed.
PF_Err FXE_EnableEffectControl(Fxenv& env, int index);
/// Shows the control as disabled and, where its type has a twirl-down, closes that.
PF_Err FXE_DisableEffectControl(Fxenv& env, int index);

}  // namespace vorlin
