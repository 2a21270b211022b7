import type { Template } from '../template';

// Groups and locks on a router's page.
export const groups = {
  newGroup: 'Make a group',
  groupName: 'Name of the group',
  members: { one: '{n} member', other: '{n} members' },
  noGroupsHere: 'No groups yet.',
  nameGroup: 'Rename',
  groupTaken: 'There is already a group called {group}.',
  groupMade: '{group} has been made.',
  groupRenamed: 'The group is called {group} now.',
  groupMembers: 'Members',
  dissolve: 'Remove the group…',
  dissolveMeans:
    'Its {n} members are in no group then, and stay as they are otherwise. Rights that are limited to {group} count nowhere.',
  dissolved: '{group} is no group any more.',
  nobodyTicked: 'Choose at least one member.',
  noLocks: 'Nothing is locked or protected.',
  freed: 'Free again',
  openLock: 'Open the lock of {destination}',
  open: 'Open',
} as const satisfies Record<string, Template>;
