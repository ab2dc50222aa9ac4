// The calls of qmio.h for C#, as it declares them; tests/csharp holds that. Texts are UTF-8 on every system. A handle is
// closed once, by Dispose or by the finalizer, and by one thread at a time.
using System;
using System.Runtime.InteropServices;
using System.Text;

namespace Qmio
{
    public sealed class MediaHandle : SafeHandle
    {
        public MediaHandle() : base(IntPtr.Zero, true) { }
        public override bool IsInvalid => handle == IntPtr.Zero;
        protected override bool ReleaseHandle() => Native.qmio_close(handle) == 0;
    }

    [StructLayout(LayoutKind.Sequential)]
    public struct Picture
    {
        public int format;
        public uint reserved0;
        public IntPtr data;
        public ulong reserved1;
        public int width;
        public int height;
        public int line_size;
        public uint reserved2a, reserved2b, reserved2c;
        public int alignment;
        public uint reserved3a, reserved3b, reserved3c, reserved3d, reserved3e;
        public ulong reserved4;
    }

    public sealed class QmioException : Exception
    {
        public int Code { get; }
        public QmioException(string reason, int code) : base(reason) { Code = code; }

        // Why the last call of this thread failed.
        public static QmioException OfThisThread(string otherwise)
        {
            byte[] text = new byte[2048];
            int code = Native.qmio_why(text, text.Length);
            int length = Array.IndexOf(text, (byte)0);
            return new QmioException(length > 0 ? Encoding.UTF8.GetString(text, 0, length) : otherwise, code);
        }
    }

    public static class Native
    {
        // libqmio.so.3 on Linux is found by this name, too, where libqmio-dev is installed.
        private const string Library = "qmio";

        public const long UnknownTime = long.MinValue;

        [DllImport(Library)] public static extern int qmio_why(byte[] buf, int size);
        [DllImport(Library)] public static extern int qmio_close(IntPtr h);
        [DllImport(Library)] public static extern int qmio_flush(MediaHandle h);
        [DllImport(Library)] public static extern int qmio_finish(MediaHandle h);
        [DllImport(Library)] public static extern int qmio_cancel(MediaHandle h);
        [DllImport(Library)] public static extern int qmio_cancel_open(long id);

        [DllImport(Library)] public static extern MediaHandle qmio_open_u8([MarshalAs(UnmanagedType.LPUTF8Str)] string name, [MarshalAs(UnmanagedType.LPUTF8Str)] string options);
        [DllImport(Library)] public static extern MediaHandle qmio_create_u8([MarshalAs(UnmanagedType.LPUTF8Str)] string name, [MarshalAs(UnmanagedType.LPUTF8Str)] string options, uint flags);
        [DllImport(Library)] public static extern MediaHandle qmio_mux_u8([MarshalAs(UnmanagedType.LPUTF8Str)] string file, [MarshalAs(UnmanagedType.LPUTF8Str)] string options, MediaHandle video_src, MediaHandle audio_src);

        [DllImport(Library)] public static extern int qmio_read_frame(MediaHandle h, byte[] buffer);
        [DllImport(Library)] public static extern int qmio_get_buf(MediaHandle h, byte[] buffer);
        [DllImport(Library)] public static extern int qmio_video_pkt(MediaHandle h, byte[] buffer, IntPtr pkt);
        [DllImport(Library)] public static extern int imio_read_frame(MediaHandle h, ref Picture pic);
        [DllImport(Library)] public static extern int imio_get_buf(MediaHandle h, ref Picture pic);
        [DllImport(Library)] public static extern int imio_video_pkt(MediaHandle h, ref Picture pic, IntPtr pkt);
        [DllImport(Library)] public static extern int qmio_set_dst_fmt(MediaHandle h, int pix_fmt);
        [DllImport(Library)] public static extern int qmio_seek_frame(MediaHandle h, int frame);
        [DllImport(Library)] public static extern long qmio_seek_ts(MediaHandle h, long ts, int kind);
        [DllImport(Library)] public static extern int qmio_get_bufsize(int fmt, int width, int height);
        [DllImport(Library)] public static extern int qmio_fmtid([MarshalAs(UnmanagedType.LPUTF8Str)] string name);

        [DllImport(Library)] public static extern int qmio_set_track(MediaHandle h, int track);
        [DllImport(Library)] public static extern int qmio_set_dst_audio(MediaHandle h, int chans, int rate, int fmt_code);
        [DllImport(Library)] public static extern int qmio_read_sound(MediaHandle h, int track, long start, int samples, byte[] buf, int size);

        [DllImport(Library)] public static extern int qmio_get_frame(MediaHandle h);
        [DllImport(Library)] public static extern int qmio_release_frame(MediaHandle h);
        [DllImport(Library)] public static extern int qmio_video_frame(MediaHandle h, byte[] buffer);
        [DllImport(Library)] public static extern int qmio_audio_frame(MediaHandle h, byte[] buf);
        [DllImport(Library)] public static extern int qmio_copy_frame(MediaHandle mux, MediaHandle src);

        [DllImport(Library)] public static extern int qmio_write_frame(MediaHandle h, byte[] data);
        [DllImport(Library)] public static extern int qmio_write_track(MediaHandle h, int track, byte[] data, int bytes);
        [DllImport(Library)] public static extern int qmio_write_audio(MediaHandle h, byte[] data, int bytes);

        [DllImport(Library)] public static extern long qmio_get_file_param(MediaHandle h, [MarshalAs(UnmanagedType.LPUTF8Str)] string key);
        [DllImport(Library)] public static extern long qmio_get_stream_param(MediaHandle h, [MarshalAs(UnmanagedType.LPUTF8Str)] string key, int track);
        [DllImport(Library)] public static extern int qmio_get_text(MediaHandle h, int track, [MarshalAs(UnmanagedType.LPUTF8Str)] string key, byte[] buf, int size);
        [DllImport(Library)] public static extern int qmio_timecode(MediaHandle h, long frame, byte[] buf, int size);
    }
}
