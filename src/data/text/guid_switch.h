// The switch VRN_CONVERT_GUID_TO_HEX_STRING, on unless set to something untrue.
#pragma once

// Read from the environment at the first call and cached; one instance for each user.
class GuidSwitch {
  public:
    bool is_on();

  private:
    enum class State { unread, off, on };
    State state_ = State::unread;
};
