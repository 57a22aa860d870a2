/* SPDX-License-Identifier: MIT */
/**
 * \file
 * The codes that calls return. Of those that name what a command reports, the command prints the
 * number as "for errno '-202'" and ends with it modulo 256. A number may have several names, where
 * two commands chose it.
 */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

typedef enum zav_code {
    ZAV_OK = 0,
    ZAV_E_BAD_CHANNEL = -111, /**< a channel, or a list of channels, is malformed */
    ZAV_E_BAD_SIZE = -113,    /**< the size is not a number of 1 to 8 digits */
    /** the name cannot be a share's, or there is no such share to show */
    ZAV_E_BAD_SHARE_NAME = -114,
    ZAV_E_BAD_SHARE_MODE = -115, /**< there is no such service */
    ZAV_E_BAD_HOST = -116, /**< the host is not an IPv4 address with an optional prefix length */
    /** the comment is too long, or the files could not be read back with it */
    ZAV_E_BAD_COMMENT = -118,
    ZAV_E_BAD_DEVICE = -121,      /**< the device is malformed */
    ZAV_E_BAD_VOLUME_LIST = -122, /**< the list of physical volumes is malformed */
    ZAV_E_BAD_GROUP_NAME = -123,  /**< the name of the volume group is malformed */
    /** the name of the pool is malformed, or there is no such pool to show */
    ZAV_E_BAD_POOL_NAME = -126,
    /** the name of the array is malformed, or there is no such array */
    ZAV_E_BAD_ARRAY_NAME = -127,
    ZAV_E_BAD_ACCESS = -128,     /**< the access is neither ro nor rw */
    ZAV_E_BAD_STATE = -129,      /**< the state is neither 0 nor 1 */
    ZAV_E_BAD_RAID_LEVEL = -130, /**< there is no such RAID level */
    /** the disk is in an array, a volume group or a mounted file system */
    ZAV_E_DISK_IN_USE = -201,
    ZAV_E_NO_SUCH_DISK = -202,     /**< there is no disk with that channel and device */
    ZAV_E_ALREADY_HOTSPARE = -203, /**< the disk is a hot spare already */
    ZAV_E_NO_HOTSPARE = -204,      /**< the disk is no hot spare, or neither -a nor -r was given */
    ZAV_E_NO_DISK_LIST = -205,     /**< the disks cannot be listed */
    ZAV_E_HOTSPARE_UNCHANGED = -206, /**< the list of hot spares could not be changed */
    ZAV_E_NO_SMART_DATA = -207,      /**< the disks' health cannot be read */
    /** the group could not be brought back before, or is still there after */
    ZAV_E_GROUP_NOT_DELETED = -301,
    /** LVM failed and the group is not there; only printed, the status is 0 */
    ZAV_E_GROUP_NOT_CREATED = -302,
    ZAV_E_NO_SUCH_GROUP = -303, /**< there is no such volume group */
    ZAV_E_NO_GROUP_LIST = -304, /**< the volume groups cannot be listed */
    /** what lvdisplay printed about the pools of shares cannot be read */
    ZAV_E_SHARE_POOLS_UNREAD = -321,
    ZAV_E_POOL_NOT_REMOVED = -324, /**< the pool is still there after the removal */
    ZAV_E_POOL_NOT_CREATED = -325, /**< LVM failed and the pool is not there */
    ZAV_E_POOLS_UNREAD = -326,     /**< the pools cannot be listed */
    /** a pool or a network disk has that name, or it cannot be told */
    ZAV_E_POOL_NAME_TAKEN = -327,
    ZAV_E_FS_NOT_REPAIRED = -509,  /**< the repair failed, or the file system is not registered */
    ZAV_E_FS_NOT_MOUNTED = -601,   /**< the file system could not be mounted */
    ZAV_E_FS_NOT_UNMOUNTED = -602, /**< the file system could not be unmounted */
    ZAV_E_FS_NOT_MADE = -603,      /**< the file system could not be made */
    ZAV_E_NO_SUCH_SHARE = -501,    /**< there is no such share */
    ZAV_E_SHARE_NOT_FORBIDDEN = -502, /**< the share could not be forbidden */
    ZAV_E_SHARE_NOT_CREATED = -503,   /**< the share could not be created */
    ZAV_E_SHARE_NOT_DELETED = -504,   /**< the share could not be deleted */
    ZAV_E_NO_SHARE_LIST = -505,       /**< the shares cannot be listed */
    ZAV_E_SHARE_NOT_USED = -506,      /**< the share in use could not be changed */
    /** the share could not be changed while forbidden, or put in use */
    ZAV_E_SHARE_NOT_EDITED = -507,
    ZAV_E_SHARE_NOT_RESTORED = -508,      /**< the share could not be restored */
    ZAV_E_SHARE_NOT_REPAIRED = -509,      /**< the share could not be repaired */
    ZAV_E_FTP_USER_FILE_UNOPENED = -511,  /**< the FTP user's file cannot be opened */
    ZAV_E_FTP_USER_FILE_UNWRITTEN = -512, /**< the FTP user's file cannot be written */
    ZAV_E_HOME_NOT_REWRITTEN = -513, /**< the user's home in /etc/passwd could not be changed */
    ZAV_E_SHARE_EXISTS = -514,       /**< there is a share of that name */
    ZAV_E_USER_FILE_UNREAD = -611,   /**< /etc/nas_userfile.conf cannot be read */
    ZAV_E_PASSWD_UNREAD = -612,      /**< /etc/passwd cannot be read */
    /** there is no such user, or the name is not representable in the files */
    ZAV_E_UNKNOWN_USER = -613,
    ZAV_E_EDIT_MODE_INVALID = -1, /**< there is no such service for the share to be edited */
    ZAV_E_BACKUP_DIRECTORY_UNREAD = -614, /**< /etc/lvm/backup cannot be listed */
    ZAV_E_LIVE_VOLUMES_UNREAD = -1,       /**< the current physical volumes are unknown */
    ZAV_E_BACKUP_WITHOUT_VOLUMES = -1,    /**< LVM's backup names no physical volumes */
    ZAV_E_VOLUME_GONE = -2,               /**< a physical volume has moved, or its array is gone */
    ZAV_E_NO_SUBSTITUTE = -3,             /**< there is no RAM disk in place of a physical volume */
    ZAV_E_RESERVATION_UNREAD = -401,      /**< the reserved names cannot be read */
    ZAV_E_RESERVATION_NOT_LOCKED = -403,  /**< the file of reserved names cannot be locked */
    ZAV_E_NAME_RESERVED = -404,           /**< another process is creating an array of that name */
    ZAV_E_RESERVATION_HELD = -405, /**< another process has locked the file of reserved names */
    ZAV_E_RESERVATION_NOT_OPENED = -406,   /**< the file of reserved names cannot be opened */
    ZAV_E_RESERVATION_UNWRITTEN = -407,    /**< the reserved names cannot be written */
    ZAV_E_MISSING_DISK_NOT_FOUND = -410,   /**< the disk that the array lost is not found */
    ZAV_E_ARRAY_DETAILS_UNREAD = -411,     /**< mdadm does not tell the array's details */
    ZAV_E_NAME_NOT_RESERVED = -412,        /**< the name of the new array could not be reserved */
    ZAV_E_ARRAY_NOT_STOPPED = -415,        /**< the array could not be stopped */
    ZAV_E_ARRAY_NOT_CREATED = -416,        /**< mdadm failed and the array is not there */
    ZAV_E_DISK_NOT_ADDED = -417,           /**< mdadm could not add the disk */
    ZAV_E_DISK_NOT_REMOVED = -418,         /**< mdadm could not remove the disk */
    ZAV_E_ARRAY_NOT_RECOVERED = -419,      /**< the array could not be stopped or created again */
    ZAV_E_ARRAY_INACTIVE = -421,           /**< the array, or one below the group, does not run */
    ZAV_E_NO_ARRAY_LIST = -422,            /**< the arrays cannot be listed */
    ZAV_E_NO_SUCH_ARRAY = -423,            /**< there is no such array */
    ZAV_E_MODEL_UNREAD = -1001,            /**< the product model cannot be read */
    ZAV_E_POWER_UNREAD = -1002,            /**< the state of the power supplies cannot be read */
    ZAV_E_POWER_TOOL_UNREAD = -1003,       /**< what the power tool printed cannot be read */
    ZAV_E_START_TIME_UNREAD = -1004,       /**< the start time cannot be read */
    ZAV_E_TIME_UNREAD = -1005,             /**< the time cannot be told */
    ZAV_E_HOST_NAME_UNREAD = -1006,        /**< the host name cannot be read */
    ZAV_E_HARDWARE_VERSION_UNREAD = -1007, /**< the hardware version cannot be read */
    ZAV_E_SOFTWARE_VERSION_UNREAD = -1008, /**< the software version cannot be read */
    ZAV_E_FAN_SPEED_UNREAD = -1009,        /**< the fan speeds cannot be read */
    ZAV_E_TEMPERATURE_UNREAD = -1010,      /**< the temperature cannot be read */
    ZAV_E_SERVICE_STATE_UNREAD = -1011,    /**< whether the service runs cannot be read */
    ZAV_E_PARTITIONS_UNREAD = -1020,       /**< /proc/partitions cannot be read */
    /** the SATA controller's directory cannot be listed */
    ZAV_E_CONTROLLER_DIRECTORY_UNREAD = -1021,
    /** a status file of the SATA controller cannot be read */
    ZAV_E_CONTROLLER_STATUS_UNREAD = -1022,
    /** what the hot-spare tool or df printed cannot be read */
    ZAV_E_DISK_TOOL_OUTPUT_UNREAD = -1023,
    ZAV_E_HOTSPARE_LINE_MISSING = -1024,  /**< the hot-spare tool printed no list */
    ZAV_E_CONTROLLER_SCAN_UNREAD = -1025, /**< the RAID controller's scan cannot be read */
    ZAV_E_ARRAY_OUTPUT_UNREAD = -1030,    /**< what the tool printed about arrays cannot be read */
    ZAV_E_ARRAY_KEY_MISSING = -1031,      /**< a value is missing in the array's details */
    /** the array's directory under /sys/block cannot be listed */
    ZAV_E_ARRAY_DIRECTORY_UNREAD = -1032,
    ZAV_E_ARRAY_STATUS_UNREAD = -1033, /**< /proc/mdstat cannot be read */
    /** what LVM printed about groups or volumes cannot be read */
    ZAV_E_GROUP_OUTPUT_UNREAD = -1040,
    ZAV_E_POOL_OUTPUT_UNREAD = -1050, /**< what lvdisplay printed cannot be read */
    ZAV_E_POOL_TOOL_FAILED = -1051,   /**< lvdisplay failed; what it printed is read all the same */
    ZAV_E_EXPORTS_UNREAD = -1060,     /**< /etc/exports or the iSCSI volumes cannot be read */
    ZAV_E_TARGETS_UNREAD = -1061,     /**< /etc/ietd.conf cannot be read */
    ZAV_E_HOME_UNREAD = -1062,        /**< an FTP user's home cannot be listed */
    ZAV_E_FTP_LIMITS_UNREAD = -1063,  /**< /etc/vsftpd.conf cannot be read */
    /** a register of mounted file systems, or its copy, cannot be opened or written */
    ZAV_E_REGISTER_UNOPENED = -1066,
    ZAV_E_FTP_LIMITS_COPY_UNOPENED = -1067, /**< the copy of /etc/vsftpd.conf cannot be written */
    ZAV_E_FTP_LIMIT_NEGATIVE = -1,          /**< a limit of the FTP server is negative */
    ZAV_E_SMART_UNREAD = -1070,             /**< what smartctl printed cannot be read */
    ZAV_E_SMART_ATTRIBUTES_UNREAD = -1071,  /**< the disk's attributes cannot be read */
    ZAV_E_MOUNTS_UNREAD = -1,               /**< /proc/mounts cannot be read */
    ZAV_E_REGISTER_UNREAD = -1,        /**< a register of mounted file systems cannot be read */
    ZAV_E_MOUNT_POINT_REGISTERED = -1, /**< the mount point has a line in the register already */
    ZAV_E_LINES_UNREAD = -1,           /**< a file of users is missing, locked or unreadable */
    ZAV_E_TOO_MANY_LINES = -2,         /**< a file of users has more than 301 lines */
    ZAV_E_USER_MISSING = -1,           /**< there is no user to look up */
    ZAV_E_DISK_USED = -2030, /**< a disk is used by an array, a volume group or as a hot spare */
    ZAV_E_ARRAY_NAME_USED = -2031,   /**< there is an array of that name */
    ZAV_E_UNKNOWN_RAID_TYPE = -2032, /**< arrays of that level cannot be created */
    /** there is no such channel on the device, or the disk is not in the array */
    ZAV_E_WRONG_DISK = -2033,
    ZAV_E_WRONG_DISK_COUNT = -2034,     /**< the level does not take so many disks */
    ZAV_E_ARRAY_CARRIES_GROUP = -2035,  /**< a volume group is on the array */
    ZAV_E_DISK_NOT_FAULTY = -2036,      /**< the disk works: only a faulty member can be removed */
    ZAV_E_LEVEL_WITHOUT_CHANGE = -2037, /**< arrays of that level take and give up no disks */
    ZAV_E_UNKNOWN_ARRAY = -2038,        /**< there is no such array */
    ZAV_E_GROUP_NAME_MISSING = -2040,   /**< the group has no name */
    ZAV_E_GROUP_NAME_USED = -2041,      /**< there is a volume group of that name */
    ZAV_E_NO_SUCH_VOLUME_DISK = -2042,  /**< there is no disk with that channel and device */
    ZAV_E_VOLUME_DISK_USED = -2043,     /**< the disk is in an array, or a hot spare */
    ZAV_E_NO_SUCH_VOLUME_ARRAY = -2044, /**< there is no such array */
    ZAV_E_VOLUME_USED = -2045,          /**< the disk or array is in a volume group */
    ZAV_E_UNKNOWN_GROUP = -2046,        /**< there is no such volume group */
    ZAV_E_GROUP_HAS_POOLS = -2047,      /**< the group has pools */
    ZAV_E_POOL_NAME_MISSING = -2050,    /**< the pool, or its group, has no name */
    ZAV_E_POOL_NAME_USED = -2051,       /**< the group has a pool of that name */
    ZAV_E_WRONG_POOL_GROUP = -2052,  /**< there is no such group, or the pool is in another one */
    ZAV_E_SIZE_NOT_POSSIBLE = -2053, /**< the group has no room for that size */
    ZAV_E_NO_SUCH_POOL = -2055,      /**< there is no such pool */
    ZAV_E_SHARE_REGISTER_UNOPENED = -2060, /**< the share register cannot be opened */
    ZAV_E_SERVICE_FILE_UNOPENED = -2061,   /**< the service's file cannot be opened */
    ZAV_E_FILE_LOCKED = -2062,             /**< another process has locked the file */
    /** the share register or the service's file is malformed */
    ZAV_E_SHARE_FILE_MALFORMED = -2063,
    ZAV_E_SHARE_REGISTER_UNWRITTEN = -2064, /**< the share register cannot be written */
    ZAV_E_SERVICE_FILE_UNWRITTEN = -2065,   /**< the service's file cannot be written */
    ZAV_E_SHARE_LISTED = -2066,             /**< the share is in the file already */
    ZAV_E_SHARE_NOT_LISTED = -2067,         /**< the share is not in the file */
    ZAV_E_UNKNOWN_SERVICE = -2068,          /**< the service has no such file */
    /** /etc/nas_userfile.conf cannot be read for the users' secrets */
    ZAV_E_USER_SECRETS_UNREAD = -2069,
    ZAV_E_COMMAND_FAILED = -11000, /**< an outside command failed, or could not be run */
    /** the product model cannot be read for the list of volume groups */
    ZAV_E_GROUP_MODEL_UNREAD = -11001,

    /* Of this interface alone. */
    ZAV_E_NO_MEMORY = -12000, /**< there is not enough memory */
    /** a pointer is null, a value is none of its enumeration, or a callback calls */
    ZAV_E_INVALID_ARGUMENT = -12001,
    /** a command failed, and an array of that name is there */
    ZAV_E_ARRAY_MADE_WITH_ERROR = -12002
} zav_code;

#ifdef __cplusplus
}
#endif
