<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
<xsl:template name="included"><xsl:param name="depth" select="0"/>
  <xsl:if test="$depth &lt; 5"><level n="{$depth}"><xsl:call-template name="included">
    <xsl:with-param name="depth" select="$depth + 1"/></xsl:call-template></level></xsl:if>
</xsl:template>
</xsl:stylesheet>
